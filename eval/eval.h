// Evaluation, from the side to move's point of view: the classic one (material plus
// piece-square tables) and the strong style's.
#pragma once

struct Position;

int evaluate();
int strong_evaluate(const Position& p);
