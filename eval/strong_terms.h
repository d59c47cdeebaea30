// The strong evaluation's weights as data: every weight has an index in one flat set, grouped
// by term, a middle-game and an end-game value each (eval/strong_weights.h holds the values the
// tuner wrote); and the trace of a position, which says how often each weight counted in its
// score, for the tuner to fit the weights to games.
#pragma once

#include <array>
#include <cstdint>

#include "board/board.h"

// The groups of weights, in the order they are stored. The king attack units and the safe
// checks feed the king danger, which is scored by its square; every other weight is added to the
// score as many times as its term counts.
// clang-format off
enum WeightGroupId : int {
    MaterialGroup,
    PawnTable, KnightTable, BishopTable, RookTable, QueenTable, KingTable,
    KnightMobility, BishopMobility, RookMobility, QueenMobility,
    KingAttackUnits, SafeChecks,
    PawnShield, PawnStorm, Doubled, Isolated, Connected,
    Passed, PasserKingDistance, PassedFree, PassedBlocked,
    ThreatByPawn, ThreatByMinor, ThreatByRook, Hanging,
    BishopPair, RookFile, RookSeventh, Outpost, Tempo,
    GroupCount
};
// clang-format on
struct WeightGroup {
    const char* name;
    int count;
    int row;             // numbers a row in the weights file: 8 for the square tables
    const char* comment; // what each weight is, for the weights file
    bool danger;         // king danger units (middle game only)
};
inline constexpr WeightGroup WeightGroups[GroupCount] = {
    {"Material", 7, 7, "none, pawn, knight, bishop, rook, queen, king", false},
    {"Pawn squares", 64, 8, "rank 1 first, files a to h, as the scored side sees the board", false},
    {"Knight squares", 64, 8, "", false},
    {"Bishop squares", 64, 8, "", false},
    {"Rook squares", 64, 8, "", false},
    {"Queen squares", 64, 8, "", false},
    {"King squares", 64, 8, "", false},
    {"Knight mobility", 9, 9, "by the squares it reaches (see the evaluation)", false},
    {"Bishop mobility", 14, 7, "", false},
    {"Rook mobility", 15, 8, "", false},
    {"Queen mobility", 28, 7, "", false},
    {"King attack units", 7, 7, "per piece type, per square of the king's zone it attacks", true},
    {"Safe checks", 7, 7, "per checking piece type, per square it may check from safely", true},
    {"Pawn shield", 3, 3, "a shield pawn two ranks ahead, none, no pawn on the file", false},
    {"Pawn storm", 8, 8, "by the rank of the nearest opponent pawn before the king, 0 none",
     false},
    {"Doubled pawn", 1, 1, "", false},
    {"Isolated pawn", 1, 1, "", false},
    {"Connected pawn", 8, 8, "defended by a pawn or beside one, by its rank", false},
    {"Passed pawn", 8, 8, "by its rank", false},
    {"Passed pawn's kings", 2, 2, "the opponent king's distance, the own king's", false},
    {"Passed pawn's free path", 8, 8, "no piece on its file before it, by its rank", false},
    {"Passed pawn blocked", 8, 8, "an opponent piece in front of it, by its rank", false},
    {"Threat by a pawn", 7, 7, "per piece type attacked", false},
    {"Threat by a minor piece", 7, 7, "", false},
    {"Threat by a rook", 7, 7, "", false},
    {"Hanging piece", 1, 1, "attacked and not defended, the king aside", false},
    {"Bishop pair", 1, 1, "", false},
    {"Rook on a file", 2, 2, "open, half open", false},
    {"Rook on the seventh", 1, 1, "with opponent pawns there or the king behind", false},
    {"Outpost", 2, 2, "knight, bishop: defended by a pawn, no opponent pawn can chase it",
     false},
    {"Tempo", 1, 1, "the side to move's", false},
};
inline constexpr std::array<int, GroupCount + 1> GroupStart = [] {
    std::array<int, GroupCount + 1> start{};
    for (int g = 0; g < GroupCount; ++g) start[g + 1] = start[g] + WeightGroups[g].count;
    return start;
}();
constexpr int WeightCount = GroupStart[GroupCount];
// The index of weight i of group g.
constexpr int weight(WeightGroupId g, int i = 0) { return GroupStart[g] + i; }
constexpr int DangerStart = GroupStart[KingAttackUnits];
constexpr int DangerCount = GroupStart[SafeChecks + 1] - DangerStart;

// The king danger of an attack by two pieces or more (or one with a safe check), in units: its
// square over DangerDivisor, up to DangerCap, is the attacker's middle-game bonus.
constexpr int DangerDivisor = 6, DangerCap = 500;
constexpr int FullPhase = 24;
// The end-game score of a side that leads is scaled by its chances, out of FullScale.
constexpr int FullScale = 64;

// How often each weight counted in a position's score: linear[i] times for the side to move
// less the times for the opponent; danger[s][i] units of attack unit i in side s's attack (0 the
// side to move) when dangerOn[s]; the game phase, 0 to FullPhase; the scale of each side's
// end-game lead; and whether each side lacks the material to win (its lead then counts as none).
struct StrongTrace {
    std::array<std::int16_t, WeightCount> linear;
    std::array<std::array<std::int16_t, DangerCount>, 2> danger;
    std::array<bool, 2> dangerOn;
    std::array<bool, 2> cannotWin;
    std::array<int, 2> scale;
    int phase;
};
// The trace of p, side to move first; what strong_evaluate(p) scores, from the weights.
void strong_trace(const Position& p, StrongTrace& trace);
