// The strong evaluation's weights: fitted to 268117 positions, the search score's share of
// each target 0.5 (a tenth held out), K = 0.00523, 1000 epochs of rate 1, lambda 1e-08: mean
// squared error on the held-out tenth 0.02367, 0.02451 before.
// Written by tools/tuner; eval/strong_terms.h names the groups, their order and what each
// weight is. Square tables run rank 1 first (a1 to h1), as the scored side sees the board.
#pragma once

#include <iterator>

#include "eval/strong_terms.h"

// clang-format off
inline constexpr int MiddleWeights[] = {
    // Material: none, pawn, knight, bishop, rook, queen, king
       0,  100,  347,  364,  493, 1036,    0,
    // Pawn squares: rank 1 first, files a to h, as the scored side sees the board
       0,    0,    0,    0,    0,    0,    0,    0,
     -30,  -22,  -34,  -49,  -12,   14,   28,  -23,
     -40,  -29,  -35,  -35,  -19,  -22,    2,  -24,
     -31,  -17,  -16,  -16,    3,    3,   -6,  -33,
     -27,  -15,   -7,    7,   15,   -7,  -16,  -33,
     -28,  -10,   24,   29,   44,   37,    1,  -35,
      73,  116,   45,   82,   53,  108,   18,  -31,
       0,    0,    0,    0,    0,    0,    0,    0,
    // Knight squares
    -104,  -18,  -54,  -34,  -15,  -18,  -32,  -23,
     -29,  -53,  -21,    9,    7,   21,  -15,  -18,
     -28,   11,    6,   10,   23,   11,   23,  -13,
      -8,    7,   18,    9,   35,   17,   20,    8,
       0,    2,   25,   50,   27,   61,   15,   24,
     -45,   64,   37,   65,   84,  128,   74,   43,
     -71,  -36,   74,   37,   26,   62,    7,  -15,
    -170,  -88,  -33,  -47,   62,  -96,  -14, -106,
    // Bishop squares
     -35,   -7,   -6,  -29,  -26,  -19,  -41,  -28,
       1,    0,   13,   -2,   15,   18,   22,   -4,
     -11,    6,   10,    9,   11,   22,   19,   20,
       3,    2,    1,   15,   26,    1,    7,   -1,
     -10,  -10,    8,   33,   25,   31,   -6,   -4,
     -20,   27,   39,   32,   29,   46,   33,   -1,
     -30,   11,  -17,  -17,   24,   52,   10,  -49,
     -34,   -1,  -85,  -42,  -30,  -47,    2,  -13,
    // Rook squares
     -23,  -22,   -8,   -6,   -5,  -14,  -41,  -31,
     -52,  -21,  -15,  -23,  -18,   -3,  -10,  -79,
     -44,  -42,  -14,  -28,   -2,  -16,  -10,  -38,
     -43,  -27,  -12,   -6,   -7,  -17,   -1,  -28,
     -27,  -15,    4,   15,   15,   19,  -16,  -21,
      -9,   13,   25,   30,   12,   37,   54,   10,
      21,   23,   43,   51,   71,   59,   18,   29,
      24,   38,   25,   41,   54,    2,   22,   37,
    // Queen squares
      -8,  -14,   -6,    5,  -12,  -21,  -33,  -53,
     -34,  -12,    7,    5,    6,   13,   -8,    2,
     -14,   -4,   -6,  -12,   -1,   -1,    7,  -14,
     -10,  -16,   -5,  -24,  -11,  -12,   -6,  -20,
     -34,  -22,  -13,  -11,   -5,    7,   -6,   -2,
     -20,  -10,    7,    9,   27,   55,   43,   39,
     -17,  -39,   -8,   -1,  -17,   56,   28,   54,
     -26,   -3,   27,   10,   56,   42,   41,   42,
    // King squares
     -13,   38,   -2,  -57,   -3,  -30,   30,   19,
      12,    7,   -2,  -60,  -39,  -21,   14,   11,
     -13,  -13,  -25,  -46,  -46,  -30,  -17,  -36,
     -48,    0,  -28,  -41,  -47,  -44,  -33,  -51,
     -17,  -20,  -13,  -28,  -31,  -27,  -17,  -35,
      -9,   25,    2,  -15,  -19,    5,   22,  -20,
      29,    0,  -19,   -7,   -7,   -2,  -36,  -30,
     -65,   23,   16,  -14,  -55,  -33,    2,   13,
    // Knight mobility: by the squares it reaches (see the evaluation)
     -18,  -13,   -7,   -4,    3,    1,    2,   13,   12,
    // Bishop mobility
     -20,  -18,   -8,   -5,   -3,    2,   10,
       8,   11,   13,   16,   27,   36,   38,
    // Rook mobility
     -17,  -12,   -9,   -2,   -6,    1,    1,    3,
       5,    9,    8,    9,    6,   12,   12,
    // Queen mobility
      -7,  -12,  -11,  -11,  -10,   -6,   -4,
       1,    4,    3,    6,    6,   -1,    1,
       8,    8,    9,   12,   13,    8,   10,
      11,   14,   12,   14,   15,   16,   17,
    // King attack units: per piece type, per square of the king's zone it attacks
       0,    0,    2,    3,    3,    3,    0,
    // Safe checks: per checking piece type, per square it may check from safely
       0,    0,    1,    0,    9,    6,    0,
    // Pawn shield: a shield pawn two ranks ahead, none, no pawn on the file
      -4,   -7,  -23,
    // Pawn storm: by the rank of the nearest opponent pawn before the king, 0 none
       4,   -5,  -14,  -12,    4,   -2,   -5,    0,
    // Doubled pawn
     -22,
    // Isolated pawn
      -4,
    // Connected pawn: defended by a pawn or beside one, by its rank
       0,    0,   15,   14,   24,   32,   40,    0,
    // Passed pawn: by its rank
       0,   -5,   11,    5,   27,   46,   46,    0,
    // Passed pawn's kings: the opponent king's distance, the own king's
       6,   -5,
    // Passed pawn's free path: no piece on its file before it, by its rank
       0,    5,    4,    4,   -5,    3,  -13,    0,
    // Passed pawn blocked: an opponent piece in front of it, by its rank
       0,   -3,   -4,  -13,   -5,  -13,  -19,    0,
    // Threat by a pawn: per piece type attacked
       0,    1,   36,   34,   40,   35,    0,
    // Threat by a minor piece
       0,   -6,   18,   29,   42,   33,    0,
    // Threat by a rook
       0,   -6,    4,   12,    0,   42,    0,
    // Hanging piece: attacked and not defended, the king aside
      12,
    // Bishop pair
      23,
    // Rook on a file: open, half open
      24,   17,
    // Rook on the seventh: with opponent pawns there or the king behind
       1,
    // Outpost: knight, bishop: defended by a pawn, no opponent pawn can chase it
      37,   19,
    // Tempo: the side to move's
      11,
};
inline constexpr int EndWeights[] = {
    // Material: none, pawn, knight, bishop, rook, queen, king
       0,  149,  297,  310,  530,  948,    0,
    // Pawn squares: rank 1 first, files a to h, as the scored side sees the board
       0,    0,    0,    0,    0,    0,    0,    0,
     -30,  -35,  -35,  -33,  -30,  -43,  -41,  -50,
     -39,  -36,  -49,  -42,  -43,  -48,  -44,  -51,
     -30,  -34,  -46,  -50,  -50,  -51,  -40,  -44,
     -11,  -19,  -30,  -38,  -45,  -39,  -26,  -26,
      51,   57,   42,   24,   13,   10,   39,   41,
     135,  130,  115,   91,  104,   89,  122,  144,
       0,    0,    0,    0,    0,    0,    0,    0,
    // Knight squares
     -12,  -35,   -9,    4,   -8,   -3,  -35,  -48,
     -22,   -2,   12,    9,    8,    0,   -2,  -28,
     -11,   11,   18,   27,   29,   11,  -14,   -7,
       2,    6,   32,   41,   38,   33,   19,   -1,
       5,   20,   32,   43,   30,   23,   20,   -8,
      -5,   -3,   29,   24,   11,    3,   -2,  -25,
      -7,   10,   -7,   15,   12,   -7,  -12,  -36,
     -44,  -21,    4,   -9,  -16,  -13,  -47,  -83,
    // Bishop squares
     -15,    0,  -18,   -5,   -8,  -13,    3,  -14,
      -6,  -21,    4,    9,   -9,    1,   -7,  -20,
     -16,    0,    6,   13,   18,    0,   -8,   -3,
       2,    4,   20,   20,    4,   20,    3,   -6,
       3,   12,   21,   13,    8,    7,    8,    2,
      12,   -4,   11,   -6,   -1,   13,    2,   10,
       0,    7,   12,   -5,   -1,  -14,    0,   -8,
      -8,  -15,   -4,   -1,    0,   -1,  -11,  -21,
    // Rook squares
      -6,   -4,   -3,    0,   -3,  -14,    2,  -22,
     -10,   -4,   -9,    4,  -16,  -14,  -12,   -1,
      -5,    3,    5,   -6,  -17,  -19,  -13,  -18,
       2,   14,   10,    3,   -9,   -6,   -7,   -8,
       8,    9,   17,    1,    4,   -1,   -4,    8,
      14,    3,    8,    6,    4,   -3,  -10,   -5,
      10,   10,    7,    5,   -6,    1,    2,   -7,
      11,   19,   20,   13,   13,   14,    5,    9,
    // Queen squares
     -42,  -35,  -29,  -58,  -15,  -38,  -29,  -50,
     -27,  -32,  -35,  -28,  -26,  -33,  -46,  -40,
     -22,  -38,    7,   -5,    0,    5,   -1,   -6,
     -27,   22,   12,   37,   22,   21,   27,   11,
      -7,   15,   17,   39,   44,   31,   47,   25,
     -30,    1,    4,   41,   41,   26,   10,   -5,
     -20,   12,   23,   33,   49,   16,   22,   -8,
     -13,   12,   15,   18,   18,   11,    2,   10,
    // King squares
     -50,  -39,  -26,  -17,  -31,  -11,  -23,  -50,
     -21,   -9,    2,   11,   14,   10,    2,  -26,
     -19,   -3,    1,   12,   14,   16,   -2,  -10,
     -14,   -2,   17,   16,   24,   22,   10,   -9,
      -7,   24,   22,   26,   24,   28,   20,   11,
      11,   25,   26,   15,   25,   49,   49,   18,
     -16,   20,   20,   15,   24,   45,   33,    7,
     -75,  -34,  -22,  -15,   -7,   20,    6,  -17,
    // Knight mobility: by the squares it reaches (see the evaluation)
     -27,  -28,  -18,    0,    2,    9,   10,    4,   -4,
    // Bishop mobility
     -34,  -31,  -23,  -11,    0,   12,   13,
      20,   19,   28,   21,   32,   34,   30,
    // Rook mobility
     -25,  -24,  -19,  -18,   -4,   -2,    4,    5,
      12,   16,   19,   24,   27,   24,   12,
    // Queen mobility
     -17,  -14,  -16,  -10,   -9,  -12,   -9,
      -1,   -1,    5,    5,    7,    9,   11,
      15,   16,   18,   20,   23,   18,   21,
      23,   27,   25,   30,   31,   34,   36,
    // King attack units: per piece type, per square of the king's zone it attacks
       0,    0,    0,    0,    0,    0,    0,
    // Safe checks: per checking piece type, per square it may check from safely
       0,    0,    0,    0,    0,    0,    0,
    // Pawn shield: a shield pawn two ranks ahead, none, no pawn on the file
       4,    8,    6,
    // Pawn storm: by the rank of the nearest opponent pawn before the king, 0 none
     -14,    0,   21,   -7,   -9,  -13,   -9,    0,
    // Doubled pawn
     -23,
    // Isolated pawn
      -7,
    // Connected pawn: defended by a pawn or beside one, by its rank
       0,    7,   11,   14,   23,   31,   41,    0,
    // Passed pawn: by its rank
       0,    5,   10,   20,   35,   60,   90,    0,
    // Passed pawn's kings: the opponent king's distance, the own king's
       5,   -2,
    // Passed pawn's free path: no piece on its file before it, by its rank
       0,    0,    0,    5,   10,   20,   35,    0,
    // Passed pawn blocked: an opponent piece in front of it, by its rank
       0,   -2,   -6,  -12,  -22,  -34,  -51,    0,
    // Threat by a pawn: per piece type attacked
       0,    0,   29,   33,   29,   28,    0,
    // Threat by a minor piece
       0,   14,   34,   23,   25,   28,    0,
    // Threat by a rook
       0,   16,   16,    9,    0,   28,    0,
    // Hanging piece: attacked and not defended, the king aside
      27,
    // Bishop pair
      55,
    // Rook on a file: open, half open
       6,    6,
    // Rook on the seventh: with opponent pawns there or the king behind
      10,
    // Outpost: knight, bishop: defended by a pawn, no opponent pawn can chase it
      19,    4,
    // Tempo: the side to move's
       6,
};
// clang-format on
static_assert(std::size(MiddleWeights) == WeightCount && std::size(EndWeights) == WeightCount);
