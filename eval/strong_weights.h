// The strong evaluation's weights: fitted to 317756 positions of self-play
// (a tenth held out), K = 0.00526, 1000 epochs of rate 1, lambda 3e-10: mean squared error
// on the held-out tenth 0.07481, 0.07817 before.
// Written by tools/tuner; eval/strong_terms.h names the groups, their order and what each
// weight is. Square tables run rank 1 first (a1 to h1), as the scored side sees the board.
#pragma once

#include <iterator>

#include "eval/strong_terms.h"

// clang-format off
inline constexpr int MiddleWeights[] = {
    // Material: none, pawn, knight, bishop, rook, queen, king
       0,  107,  481,  524,  843, 1610,    0,
    // Pawn squares: rank 1 first, files a to h, as the scored side sees the board
       0,    0,    0,    0,    0,    0,    0,    0,
     -26,  -22,   -8,  -19,   -6,    4,   44,  -13,
     -22,  -41,   -6,  -18,   17,   10,   31,    7,
     -45,  -22,    2,   20,   23,   -3,    1,  -32,
      10,  -33,  -11,    7,    3,   15,  -52,  -77,
      15,   16,  -47,  -38,   13,   72,   16,  -89,
      12,  174,   48,  179,   84,    9,   17, -218,
       0,    0,    0,    0,    0,    0,    0,    0,
    // Knight squares
     -97,   -2,  -45,    4,   77,  -50,   -5,  157,
      18,  -27,  -15,    4,   31,   -7,  -24,  -47,
      -6,  -37,   25,   19,   84,   32,   19,   36,
     -30,  -33,   40,   30,   65,   32,   -4,   20,
      21,   27,  -30,   75,   37,  107,   41,   55,
     -51,  -57,   52,   89,   33,   93,   93,   41,
     -96, -120,  -52,    2,  -31,   61,  -18,  -16,
    -210,  -97,  -48,  -60,   63, -121,   -4, -144,
    // Bishop squares
     -48,  -19,   -9,  -13,  -35,   -7,   -1,  -59,
      -9,    2,   30,   17,   20,   13,   25,   34,
     -44,   11,    1,   31,   20,    9,  -33,   28,
     -15,    9,   29,   17,   42,   -4,   40,    6,
       1,   -5,   38,  -29,   16,   -2,  -19,   69,
      12,  -27,   52,  -16,  -26,   57,   14,   35,
    -107,   90,   -4,   67,   -5,  139,  -65,    3,
     -38,  -53,  -81,  -81,  -41,  -25,  -15,  -42,
    // Rook squares
     -26,  -14,    6,   -2,   -6,  -27, -111,  -58,
     -42,  -13,  -24,   -6,  -29, -103,  -41,  -92,
    -108,   40,  -29,   -9,  -40,  -28,  -56, -133,
     -57,  -35,  -69,  -47,  -77,   -5,  -70,  -26,
     -48,    0,   46,   48,   94,   55,  -67,   -8,
      22,    3,   17,   89,   58,   77,    8,  -78,
      10,   43,   85,   73,  111,   74,   22,   59,
       7,  -45,  127,  123,  157,  112,   -3,   67,
    // Queen squares
     -42,  -56,    5,   32,   43,   30,  -46,  -75,
     -43,   71,   26,   11,   36,   23,   25,   30,
     -67,   13,  -10,   19,  -40,    3,   12,   29,
     -27,  -35,    9,    0,  -36,  -39,    6,  -27,
     -42,    4,  -11,    9,  -17,    9,  -19,   27,
     -39,    4,   19,   34,   41,   51,   50,   20,
     -72,  -17,  -20,    0,  -11,   16,   37,    5,
       6,   36,  -15,   18,   33,   76,   -6, -105,
    // King squares
      -6,   25,   20,  -32,  -13,  -28,   28,   40,
     -38,  -20,   26,   -2,  -63,  -11,   -4,   29,
     -40,   -6,  -57,  -42,   87,  -30,   81,  -46,
     -63,  -54,  -24,  -58,  -25,  -20,   -2,  -49,
      -7,  -74, -106, -189, -153,   -2,   38,  -12,
     -19,  -32,  -95,  -71,  -22,  -12,   84,    1,
      47,  -20,  -11,  -47,   31,   54,   17,    7,
     -67,   27,   11,  -17,  -11,  -11,   44,   19,
    // Knight mobility: by the squares it reaches (see the evaluation)
     -83,  -31,   -5,    1,   -1,   -2,    8,   17,   33,
    // Bishop mobility
     -30,  -24,   -9,   -7,    9,    0,   20,
      23,    8,   -3,   38,    6,   24, -126,
    // Rook mobility
     -93,  -62,  -57,  -47,  -44,  -44,  -39,  -19,
     -30,  -44,   -8,   15,   37,  -26,  413,
    // Queen mobility
     -48,  -19,  -20,  -14,   -8,   -7,   -1,
       0,   -6,    1,    4,   14,    8,   12,
     -12,   10,   50,   10,    1,   40,   47,
      35,    5,    1,  -25,  -52,  -17,  -70,
    // King attack units: per piece type, per square of the king's zone it attacks
       0,    0,    2,    3,    3,    4,    0,
    // Safe checks: per checking piece type, per square it may check from safely
       0,    0,    3,    6,    3,    3,    0,
    // Pawn shield: a shield pawn two ranks ahead, none, no pawn on the file
     -13,  -35,  -39,
    // Pawn storm: by the rank of the nearest opponent pawn before the king, 0 none
      35,   -5,  -53,   27,   30,   43,   42,    0,
    // Doubled pawn
       1,
    // Isolated pawn
     -22,
    // Connected pawn: defended by a pawn or beside one, by its rank
       0,    3,   13,    9,   31,  174,   17,    0,
    // Passed pawn: by its rank
       0,   30,    8,   -6,  -35,  -24, -112,    0,
    // Passed pawn's kings: the opponent king's distance, the own king's
       7,    0,
    // Passed pawn's free path: no piece on its file before it, by its rank
       0,  -45,  -19,   -1,    5,   -6, -118,    0,
    // Passed pawn blocked: an opponent piece in front of it, by its rank
       0,   83,   -7,  -12,    3,   50,  102,    0,
    // Threat by a pawn: per piece type attacked
       0,  -28,   63,   63,   72,   41,    0,
    // Threat by a minor piece
       0,   -5,   19,   41,   56,   56,    0,
    // Threat by a rook
       0,  -24,  -16,   28,    0,   38,    0,
    // Hanging piece: attacked and not defended, the king aside
      14,
    // Bishop pair
      36,
    // Rook on a file: open, half open
      38,   32,
    // Rook on the seventh: with opponent pawns there or the king behind
     -48,
    // Outpost: knight, bishop: defended by a pawn, no opponent pawn can chase it
      69,   15,
    // Tempo: the side to move's
      16,
};
inline constexpr int EndWeights[] = {
    // Material: none, pawn, knight, bishop, rook, queen, king
       0,  158,  240,  227,  377,  678,    0,
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
     -16,    9,   71,   15,  -52,   18,  -23,  -23,
     -93,  -23,  -21,    7,   23,  102,  -13,    6,
     -83,    9,   21,   10,   20,  -34,   30,   43,
     -17,   14,   32,   24,    1,   34,    1,  -32,
     -39,   -4,    4,    3,  -19,  -33,   -2,   17,
      17,   -7,   38,   12,   35,   43,   31,  -74,
       8,   41,   -6,   27,   22,   -8,    2,    0,
     -41,  -43,    9,    8,   -7,   11,  -21,  -84,
    // Bishop squares
      89,  -17,   13,  -48,   -7,   -4,    4,  -19,
     -21,    5,   14,   12,  -39,  -27,  -21,  -55,
      22,    0,   26,    9,    1,    3,   -7,  -11,
       3,   34,   14,   15,  -37,  -26,  -28,   30,
      37,    9,   12,    6,   34,   19,  -43,  -23,
      -2,   -9,    3,   48,   14,   18,  -19,  -15,
      -6,   14,    9,  -14,   25,  -75,   71,  -11,
      43,   -9,   -6,   17,  -20,  -20,  -61,   24,
    // Rook squares
      13,  -13,   -4,   12,   -8,    1,   53,   -6,
     -31,  -25,  -36,  -25,  -40,   58,   18,  -17,
      12,  -41,  -17,  -28,  -28,    2,  -26,   77,
      12,   21,   34,   45,   17,   -8,   16,  -21,
      15,  -11,   -3,  -19,  -44,  -22,   23,    4,
      31,   33,   -2,    0,  -14,   29,   24,   12,
      14,    1,  -29,  -40,  -92,  -21,   19,   14,
      52,   54,  -14,    0,  -50,   -8,   -1,   25,
    // Queen squares
     -32,   40,  -78, -140, -152,  -27,  -91,  -22,
     -46,  -96, -112,  -52,  -32, -104,  -65,  -47,
       3,  -54,    6,  -23,   15,   18,   30,    7,
      23,   40,   54,    9,   83,   59,    9,  -29,
      34,   37,   41,   64,   14,  -23,   14,   -6,
      28,    4,   53,   36,   32,   27,   -1,   73,
      -7,   31,   25,   89,   27,   34,   13,  -48,
       9,   18,   66,   54,  -10,   18,   23,   37,
    // King squares
     -38,   -8,  -22,  -12,  -26,   -5,  -34,  -81,
       7,  -14,  -17,   -1,    7,   18,   -4,  -35,
     -25,   -1,  -21,   -3,  -12,   -6,  -29,  -33,
      -9,   13,   23,   36,   29,   20,    6,  -17,
      -1,   64,   71,   74,   32,  -26,    2,    4,
       0,   47,  121,  113,   51,  -77, -124,  -17,
     -41,   75,   26,   46,   37,  -55,   35,   25,
    -117,    5,  -17,  -18,   16,   62,   36,   16,
    // Knight mobility: by the squares it reaches (see the evaluation)
     -13,   -4,    5,   -2,    9,   11,    2,   -2,  -67,
    // Bishop mobility
     -55,  -30,  -24,  -25,   -1,   14,    1,
      18,   45,   51,   20,   39,   48,   -8,
    // Rook mobility
     -41,  -25,   -6,    5,    6,   11,   18,   12,
      27,   34,   27,   14,    6,   55, -126,
    // Queen mobility
     -82,  -52,  -56,   12,   -6,    6,    4,
      22,   57,  -17,  -14,    4,   23,   49,
      48,    6,   10,   16,   11,  -42,  -66,
    -100, -113, -225, -148, -283,  -43, -224,
    // King attack units: per piece type, per square of the king's zone it attacks
       0,    0,    0,    0,    0,    0,    0,
    // Safe checks: per checking piece type, per square it may check from safely
       0,    0,    0,    0,    0,    0,    0,
    // Pawn shield: a shield pawn two ranks ahead, none, no pawn on the file
      -4,    9,   21,
    // Pawn storm: by the rank of the nearest opponent pawn before the king, 0 none
     -23,    0,   53,   -7,   -8,  -16,  -24,    0,
    // Doubled pawn
     -51,
    // Isolated pawn
       3,
    // Connected pawn: defended by a pawn or beside one, by its rank
       0,   -3,    0,    8,  -13,  -22, -102,    0,
    // Passed pawn: by its rank
       0,    5,   10,   20,   35,   60,   90,    0,
    // Passed pawn's kings: the opponent king's distance, the own king's
       5,   -2,
    // Passed pawn's free path: no piece on its file before it, by its rank
       0,    0,    0,    5,   10,   20,   35,    0,
    // Passed pawn blocked: an opponent piece in front of it, by its rank
       0,    1,  -77,  -26,  -14,  -55, -107,    0,
    // Threat by a pawn: per piece type attacked
       0,   18,  -15,   25,   -2,   16,    0,
    // Threat by a minor piece
       0,   21,    8,   32,  -31,   11,    0,
    // Threat by a rook
       0,   26,   46,   18,    0,   51,    0,
    // Hanging piece: attacked and not defended, the king aside
      30,
    // Bishop pair
      75,
    // Rook on a file: open, half open
      -6,  -10,
    // Rook on the seventh: with opponent pawns there or the king behind
      43,
    // Outpost: knight, bishop: defended by a pawn, no opponent pawn can chase it
      24,    6,
    // Tempo: the side to move's
       4,
};
// clang-format on
static_assert(std::size(MiddleWeights) == WeightCount && std::size(EndWeights) == WeightCount);
