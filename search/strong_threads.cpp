// The strong style's helper threads: created when their number changes, woken for each search
// with a copy of the game, stopped and waited for when the search is over.
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "search/strong.h"

namespace {

struct Pool {
    std::vector<std::thread> threads;
    std::mutex lock;
    std::condition_variable wake, idle;
    unsigned searches = 0; // searches started, so a helper knows a new one from the last
    bool quitting     = false;
    int busy          = 0; // helpers still searching
    int maxDepth      = MaxPly;
    int gameIndex     = 0;
    std::array<Position, StackSize> game; // the game up to the root, for the helpers to copy

    void join() {
        {
            std::lock_guard<std::mutex> guard(lock);
            quitting = true;
        }
        wake.notify_all();
        for (std::thread& thread : threads) thread.join();
        threads.clear();
        quitting = false;
    }
    ~Pool() { join(); }
};
Pool Helpers;

// A helper waits for a search, copies the game, searches until it is told to stop, and waits
// again; seen is the last search it knows of.
void run_helper(int id, unsigned seen) {
    IsHelperThread = true;
    for (;;) {
        int index = 0, depth = 0;
        {
            std::unique_lock<std::mutex> guard(Helpers.lock);
            Helpers.wake.wait(guard, [&] { return Helpers.quitting || Helpers.searches != seen; });
            if (Helpers.quitting) return;
            seen  = Helpers.searches;
            index = Helpers.gameIndex;
            depth = Helpers.maxDepth;
        }
        std::copy(Helpers.game.begin(), Helpers.game.begin() + index + 1, PositionStack.begin());
        CurrentPosition = &PositionStack[index];
        helper_search(id, depth);
        std::lock_guard<std::mutex> guard(Helpers.lock);
        if (--Helpers.busy == 0) Helpers.idle.notify_all();
    }
}

} // namespace

void set_helper_threads(int count) {
    if (int(Helpers.threads.size()) == count) return;
    Helpers.join();
    for (int id = 0; id < count; ++id)
        Helpers.threads.emplace_back(run_helper, id, Helpers.searches);
}

int helper_threads() { return int(Helpers.threads.size()); }

void start_helpers(int max_depth) {
    if (Helpers.threads.empty()) return;
    std::lock_guard<std::mutex> guard(Helpers.lock);
    StopHelpers.store(false, std::memory_order_relaxed);
    Helpers.gameIndex = stack_index();
    std::copy(PositionStack.begin(), PositionStack.begin() + Helpers.gameIndex + 1,
              Helpers.game.begin());
    Helpers.maxDepth = max_depth;
    Helpers.busy     = int(Helpers.threads.size());
    ++Helpers.searches;
    Helpers.wake.notify_all();
}

void stop_helpers() {
    if (Helpers.threads.empty()) return;
    StopHelpers.store(true, std::memory_order_relaxed);
    std::unique_lock<std::mutex> guard(Helpers.lock);
    Helpers.idle.wait(guard, [] { return Helpers.busy == 0; });
}
