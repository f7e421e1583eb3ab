// The same work in several threads at once.
#pragma once

#include <thread>
#include <vector>

namespace velm_test {

/// Calls work(0), work(1), ... in threads of their own and waits for their ends.
template <class Work>
void in_threads(int count, const Work& work) {
    std::vector<std::thread> threads;
    for (int n = 0; n < count; ++n)
        threads.emplace_back([&work, n] { work(n); });
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace velm_test
