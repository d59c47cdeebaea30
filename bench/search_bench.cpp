// Search benchmark: a fixed-depth search of fixed positions, the same run as "quillfern bench".
// The total node count is a signature that changes only when search, ordering or evaluation
// behaviour changes; the rate is the moves made per second. With THREADS, the strong style
// searches on that many threads: its time to the depth is what to compare (the count and the
// signature are the starting thread's alone, and vary from run to run).
//
// usage: search_bench [DEPTH [strong [THREADS]]]   (depth 6 by default; classic unless strong)
#include <cstdlib>
#include <cstring>

#include "front/front.h"
#include "search/strong.h"

int main(int argc, char** argv) {
    int depth = argc > 1 ? std::atoi(argv[1]) : 6;
    if (depth < 2 || depth > MaxPly) depth = 6;
    const bool strong = argc > 2 && std::strcmp(argv[2], "strong") == 0;
    const int threads = argc > 3 ? std::atoi(argv[3]) : 1;
    if (strong && threads > 1) set_helper_threads(threads - 1);
    return search_benchmark(depth, strong);
}
