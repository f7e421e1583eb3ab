// Counted texts and small patterns.
#include "velm/frame/regexp.h"
#include "velm/frame/string.h"

#include "support/memory_file.h"
#include "support/test.h"

namespace {

using velm_test::MemoryFile;

TEST(String, CopiesShareUntilOneIsWritten) {
    ERCString a("measured");
    const ERCString b = a;
    EXPECT_EQ(a.data(), b.data());
    a.append(" twice");
    EXPECT_STREQ(b, "measured");
    const char* const before = a.data();
    a.append('.');
    EXPECT_EQ(a.data(), before) << "room for one more, and nobody shares it";
    for (const ERCString& empty :
         {ERCString(""), ERCString("x", 0), ERCString('x', 0), ERCString("", 0, "", 0),
          ERCString(ERCString("text")(2, 0)), ERCString(static_cast<const char*>(nullptr))})
        EXPECT_EQ(empty.data(), ERCString().data()) << "one body for all";
    EXPECT_NE(a.copy().data(), a.data());
}

// Random edits against std::string, with arguments that overlap the text itself.
TEST(String, EditsAgreeWithAModel) {
    velm_test::Random random(16);
    ERCString s;
    std::string model;
    std::pair<ERCString, std::string> kept;
    for (int step = 0; step < 20000; ++step) {
        const int at = random.below(static_cast<int>(model.size()) + 1);
        const int n = random.below(static_cast<int>(model.size()) - at + 1);
        const auto uat = static_cast<std::size_t>(at);
        const auto un = static_cast<std::size_t>(n);
        const std::string own = model.substr(uat, un);
        const std::function<void()> edits[] = {
            [&] { s.insert(at, s.data() + at, n), model.insert(uat, own); },
            [&] { s.remove(at, n), model.erase(uat, un); },
            [&] { s.replace(at, n, "xyz"), model.replace(uat, un, "xyz"); },
            [&] { s.prepend('\0', 2), model.insert(0, 2, '\0'); },
            [&] { s(at, n) = ERCString("<>"), model.replace(uat, un, "<>"); },
            [&] {
                kept = {s, model};
            },
            [&] {
                if (at < s.length()) (step % 2 ? s[at] : s(at)) = model[uat] = 'M';
            },
        };
        random.one_of(edits)();
        if (model.size() > 300) s.resize(5), model.resize(5);
        ASSERT_TRUE(s.view() == model && kept.first.view() == kept.second) << step;
        ASSERT_EQ(s.data()[s.length()], '\0');
    }
}

TEST(String, ComparesAndHashesUnsignedBytes) {
    EXPECT_EQ(ERCString("\xE9").compareTo("a"), 1);
    EXPECT_EQ(ERCString("ab").compareTo("abc"), -1);
    EXPECT_EQ(ERCString("CIRCLE").compareTo("circle", ERCString::ignoreCase), 0);
    EXPECT_EQ(ERCString("[").compareTo("a", ERCString::ignoreCase), -1);
    EXPECT_EQ(ERCString("Arc").hash(ERCString::ignoreCase),
              ERCString("aRC").hash(ERCString::ignoreCase));
    EXPECT_EQ(ERCString().hash(ERCString::ignoreCase), 0u);
    // Length 4, then the word "abcd"; length 5 with one byte left.
    EXPECT_EQ(erhash("abcd"), 4u * 32u ^ 0x64636261u);
    EXPECT_EQ(erhash(ERCString("abcde")),
              ((5u * 32u ^ 0x64636261u) << 5 | 0x64636261u >> 27) ^ 'e');
    EXPECT_EQ(erhash(ERCString("\xFF")), 1u * 32u ^ 0xFFFFFFFFu) << "left-over bytes are signed";
    EXPECT_EQ(toUpper("\xE9z"), "\xE9Z");
    EXPECT_FALSE(ERCString("\xE9").isAscii());
}

TEST(String, FindsAndStrips) {
    const ERCString s("  a rose is a rose ");
    EXPECT_EQ(s.index("rose"), 4);
    EXPECT_EQ(s.index("ROSE", 5, ERCString::ignoreCase), 14);
    EXPECT_EQ(s.index("rose", 99), -1);
    EXPECT_EQ(s.index("", s.length()), s.length());
    EXPECT_EQ(s.first("sr"), 4);
    EXPECT_EQ(s.last('a'), 12);
    EXPECT_EQ(s.strip(ERCString::both), "a rose is a rose");
    EXPECT_EQ(s.strip(ERCString::leading), "a rose is a rose ");
    EXPECT_TRUE(!ERCString("   ").strip(ERCString::both));
    EXPECT_TRUE(!s.subString("lily"));
    ERCString t = s;
    t.subString("rose") = "lily";
    EXPECT_STREQ(t, "  a lily is a rose ");
}

TEST(String, StoredFormHasALengthAndNoNul) {
    MemoryFile file;
    file << ERCString("ab") << ERCString();
    EXPECT_EQ(file.bytes, std::string("\2\0\0\0ab\0\0\0\0", 10));
    file.SeekToBegin();
    ERCString a("shared");
    const ERCString other = a;
    file >> a;
    EXPECT_STREQ(a, "ab");
    EXPECT_STREQ(other, "shared");
    for (const std::string& damaged :
         {std::string("\3\0\0\0ab", 6), std::string("\xFF\xFF\xFF\xFF"),
          std::string("\xFF\xFF\xFF\x7F"
                      "a")}) {
        MemoryFile broken(damaged);
        EXPECT_EQ(a.restoreFrom(broken), 0);
        EXPECT_STREQ(a, "ab");
    }
}

// ---- patterns ----

// What a pattern matches in a text; none where it does not.
std::optional<std::string> matched(const char* pattern, const ERCString& text, int start = 0) {
    int length = -7;
    const int at = ERCRegexp(pattern).index(text, &length, start);
    if (at < 0) {
        EXPECT_EQ(length, start > text.length() ? -7 : 0);
        return std::nullopt;
    }
    return std::string(text.data() + at, static_cast<std::size_t>(length));
}

TEST(Pattern, StatusTellsWhatIsWrong) {
    for (const char* good : {"a", "a$b", "a^", "$", "^", "[]", "[^]", "[a-]*", "\\*", ".?"})
        EXPECT_EQ(ERCRegexp(good).status(), ERCRegexp::OK) << good;
    for (const char* bad : {"", "*a", "+", "?"})
        EXPECT_EQ(ERCRegexp(bad).status(), ERCRegexp::ILLEGAL) << bad;
    for (const char* bad : {"a**", "^*", "a+?", "[a", "[a-", "[]a]**"})
        EXPECT_EQ(ERCRegexp(bad).status(), ERCRegexp::TOOLONG) << bad;
    EXPECT_EQ(ERCRegexp(std::string(127, 'a').c_str()).status(), ERCRegexp::OK);
    EXPECT_EQ(ERCRegexp(std::string(128, 'a').c_str()).status(), ERCRegexp::TOOLONG);
}

TEST(Pattern, FindsTheLeftmostAndTakesTheMost) {
    // Patterns, texts and the parts found; a set's range may stand the other way round.
    std::istringstream cases(R"(
        a*b caaab aaab   a+ baaac aaa   ab?c ac,abc ac   a.*c abcbcb abcbc   a?a a a   ^b ab none
        b$ bab b   a$b a$b a$b   a^ a^ a^   [0-9]+ R12.5 12   [9-0]+ R12.5 12   [^0-9]+ 12mm mm
        [-+]1 x-1 -1   [+-]1 x-1 -1   [\]x]+ a]x] ]x]   [] abc none   \.\\ a.\ .\   a\ a\ a\)");
    for (std::string pattern, text, part; cases >> pattern >> text >> part;)
        EXPECT_EQ(matched(pattern.c_str(), text.c_str()).value_or("none"), part) << pattern;
    EXPECT_EQ(matched("x*", "aaa"), "");
    EXPECT_EQ(matched("[\x80-\xFF]+", "caf\xC3\xA9s"), "\xC3\xA9");
    EXPECT_EQ(matched("\\x41\\102\\^c\\s\\T", "AB\3 \t"), "AB\3 \t");
    EXPECT_EQ(matched("^b", "ab", 1), "b") << "the text given begins there";
    EXPECT_EQ(matched("$", "abc", 3), "");
    EXPECT_EQ(matched("$", "abc", 4), std::nullopt);
}

TEST(Pattern, ReplacesOnceOrEverywhere) {
    ERCString s("a1b22c333");
    s.replace(ERCRegexp("[0-9]+"), "#");
    EXPECT_STREQ(s, "a#b22c333");
    s.replace(ERCRegexp("[0-9]+"), "<$>", ERCString::all);
    EXPECT_STREQ(s, "a#b<$>c<$>");
    s.replace(ERCRegexp("x*"), "-", ERCString::all);
    EXPECT_STREQ(s, "-a-#-b-<-$->-c-<-$->-");
}

TEST(Pattern, ManyClosuresStayQuick) {
    std::string pattern;
    for (int i = 0; i < 40; ++i)
        pattern += "a*";
    EXPECT_EQ(matched((pattern + "b").c_str(), ERCString('a', 400)), std::nullopt);
}

} // namespace
