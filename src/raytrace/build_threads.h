// The scene build's way of sharing work among the render's threads.
#pragma once

#include <thread>
#include <vector>

namespace orv {

// Runs work(index) for index 0 to count - 1, index 0 on the calling thread and each other on a
// thread of its own; returns when all have ended.
template <typename Work>
void onThreads(int count, Work work) {
    std::vector<std::thread> helpers;
    for (int t = 1; t < count; ++t) helpers.emplace_back(work, t);
    work(0);
    for (std::thread& helper : helpers) helper.join();
}

}  // namespace orv
