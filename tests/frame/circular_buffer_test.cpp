#include "velm/frame/circular_buffer.h"

#include "support/test.h"

#include <deque>

namespace {

using velm_test::Random;

TEST(CircularBuffer, FollowsAQueueThatForgetsWhenFull) {
    Random random(1531);
    for (int size : {2, 3, 7, 64}) {
        ER_CirBuf buffer(size);
        std::deque<unsigned char> queue;
        const auto put = [&](char c) {
            if (static_cast<int>(queue.size()) == size - 1) queue.clear();
            queue.push_back(static_cast<unsigned char>(c));
        };
        for (int step = 0; step < 3000; ++step) {
            const int n = random.below(static_cast<int>(queue.size()) + 1);
            const std::function<void()> operations[] = {
                [&] {
                    const std::string text(static_cast<std::size_t>(random.below(size)),
                                           static_cast<char>(1 + random.below(255)));
                    buffer.Put(text.c_str(), random.below(2) ? -1 : static_cast<int>(text.size()));
                    for (char c : text)
                        put(c);
                },
                [&] { buffer.Put(static_cast<char>(step)), put(static_cast<char>(step)); },
                [&] {
                    ASSERT_EQ(buffer.Get(), queue.empty() ? 255 : queue.front());
                    if (!queue.empty()) queue.pop_front();
                },
                [&] { buffer.Consomme(n), queue.erase(queue.begin(), queue.begin() + n); },
            };
            random.one_of(operations)();
            ASSERT_EQ(buffer.entries(), static_cast<int>(queue.size()));
            for (int i = -1; i <= size; ++i) {
                const bool held = 0 <= i && i < buffer.entries();
                ASSERT_EQ(buffer[i], held ? queue[static_cast<std::size_t>(i)] : 255);
            }
        }
        EXPECT_EQ(buffer.GetTaille(), size);
    }
}

} // namespace
