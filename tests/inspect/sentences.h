// What texts say, and the sentence that a reader refuses its input with.
#pragma once

#include "inspect/base/failure.h"
#include "support/test.h"

namespace velm_test {

/// Whether a text has the words.
inline testing::AssertionResult has(const std::string& text, const std::string& words) {
    if (text.find(words) != std::string::npos) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "no '" << words << "' in: " << text;
}
/// Whether it has them all.
inline testing::AssertionResult has(const std::string& text,
                                    std::initializer_list<const char*> all) {
    for (const char* words : all)
        if (const auto found = has(text, words); !found) return found;
    return testing::AssertionSuccess();
}

/// The failure's sentence, or "read" where there is none.
template <class Read>
std::string sentence_of(Read read) {
    try {
        read();
        return "read";
    } catch (const velm::inspect::Failure& failure) {
        EXPECT_EQ(failure.kind(), velm::inspect::FailureKind::input) << failure.what();
        return failure.what();
    }
}

} // namespace velm_test
