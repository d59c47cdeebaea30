// Evaluation: material plus piece-square tables, from the side to move's point of view.
#pragma once

int evaluate();
