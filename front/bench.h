// The search benchmark, shared by "quillfern bench" and the developer's bench/search_bench.
#pragma once

// Searches eight fixed positions to depth, in the strong style or the classic one, and prints
// each position's score, move and nodes, the node total (the style's signature, which changes
// only when the search's behaviour does), the time, and last "Nodes searched: N" and
// "Nodes/second: R", the lines testers' scripts read. Returns 0, or 1 when the strong style's
// table cannot be allocated.
int search_benchmark(int depth, bool strong);
