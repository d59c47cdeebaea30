// Search benchmark: a fixed-depth search of fixed positions, the same run as "quillfern bench".
// The total node count is a signature that changes only when search, ordering or evaluation
// behaviour changes; the rate is the moves made per second.
//
// usage: search_bench [DEPTH [strong]]   (depth 6 by default; the classic style unless strong)
#include <cstdlib>
#include <cstring>

#include "front/front.h"
#include "search/search.h"

int main(int argc, char** argv) {
    int depth = argc > 1 ? std::atoi(argv[1]) : 6;
    if (depth < 2 || depth > MaxPly) depth = 6;
    return search_benchmark(depth, argc > 2 && std::strcmp(argv[2], "strong") == 0);
}
