// Properties and their table: conversions, bytes, damaged records.
#include "support/records.h"
#include "velm/store/database_property.h"

#include <climits>

namespace {

using namespace velm_test;

std::string operator""_bytes(const char* text, std::size_t length) { return {text, length}; }

TEST(DatabaseProperty, ConvertsBetweenItsTypes) {
    struct Case {
        ERDBObjProperty property;
        int as_int;
        long as_long;
        unsigned int as_unsigned;
        double as_double;
        std::string as_text;
    };
    const double huge = 1e300;
    const Case cases[] = {
        {{}, 0, 0, 0u, 0.0, ""},
        {-7, -7, -7, 0xFFFFFFF9u, -7.0, ""},
        {2.9, 2, 2, 2u, 2.9, ""},
        {-2.9, -2, -2, 0xFFFFFFFEu, -2.9, ""},
        {huge, INT_MAX, INT_MAX, 0xFFFFFFFFu, huge, ""},
        {" 12.75mm", 12, 12, 12u, 12.75, " 12.75mm"},
        {"-99999999999", INT_MIN, INT_MIN, 0x80000000u, -99999999999.0, "-99999999999"},
        {"none", 0, 0, 0u, 0.0, "none"},
        {"+-5", 0, 0, 0u, 0.0, "+-5"},
        {"-1e999", -1, -1, 0xFFFFFFFFu, -HUGE_VAL, "-1e999"},
        {"9e-999", 9, 9, 9u, 0.0, "9e-999"},
        {4000000000ul, -294967296, 4000000000l, 4000000000u, 4e9, ""},
        {5000000000l, INT_MAX, INT_MAX, INT_MAX, 2147483647.0, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.as_double);
        EXPECT_EQ(int(c.property), c.as_int);
        EXPECT_EQ(long(c.property), c.as_long);
        EXPECT_EQ(static_cast<unsigned int>(c.property), c.as_unsigned);
        EXPECT_EQ(static_cast<unsigned long>(c.property), c.as_unsigned);
        EXPECT_EQ(double(c.property), c.as_double);
        EXPECT_EQ(std::string(static_cast<const char*>(c.property)), c.as_text);
    }
    EXPECT_EQ(int(ERDBObjProperty(std::numeric_limits<double>::quiet_NaN())), 0);
}

TEST(DatabaseProperty, PrintsAndStoresEachType) {
    struct Case {
        ERDBObjProperty property;
        std::string text;
        std::string bytes;
    };
    const Case cases[] = {
        {{}, "ERDBObjProperty type = 0\n GV (UNDEF!!!) ", "\0"_bytes},
        {-2, "ERDBObjProperty type = 1\n GV (long) -2", "\1\xFE\xFF\xFF\xFF"_bytes},
        {1.5, "ERDBObjProperty type = 2\n GV (double) 1.5", "\2\0\0\0\0\0\0\xF8\x3F"_bytes},
        {"ab", "ERDBObjProperty type = 3\n GV (String) 'ab'", "\3\2\0\0\0ab\0"_bytes},
        {7ul, "ERDBObjProperty type = 4\n GV (unsigned long) 7", "\4\7\0\0\0"_bytes},
    };
    for (const Case& c : cases) {
        std::ostringstream text;
        c.property.printOn(text);
        EXPECT_EQ(text.str(), c.text);
        EXPECT_EQ(record_of(c.property), c.bytes);

        ERDBObjProperty back("something else");
        EXPECT_EQ(record_of(restore(back, c.bytes)), c.bytes);
        for (std::size_t cut = 0; cut < c.bytes.size(); ++cut) {
            restore(back, c.bytes.substr(0, cut));
            EXPECT_EQ(back.getType(), ERDBObjProperty::undefined) << cut;
        }
    }
    MemoryFile unknown("\x09\1\0\0\0"_bytes);
    ERDBObjProperty property(3);
    property.restoreGuts(unknown);
    EXPECT_EQ(property.getType(), ERDBObjProperty::undefined);
    EXPECT_EQ(unknown.GetPosition(), 1u) << "nothing after the type";
}

TEST(DatabaseProperty, TableKeepsItsOrderOnFile) {
    ERDBObjPropertyTable table;
    table[256] = 1; // hash 1, bucket 1
    table[1] = 2;   // hash 1, after it
    table[255] = 3; // hash 0, bucket 0
    table[-1] = 4;  // the remainder of 4294967295, which is 0
    table[1] = "x"; // replaced in its place
    const std::string expected = "\4\0\0\0"
                                 "\xFF\0\0\0\1\3\0\0\0"
                                 "\xFF\xFF\xFF\xFF\1\4\0\0\0"
                                 "\0\1\0\0\1\1\0\0\0"
                                 "\1\0\0\0\3\1\0\0\0x\0"_bytes;
    EXPECT_EQ(record_of(table), expected);

    ERDBObjPropertyTable other;
    other[1] = 9.0;
    other[77] = 8;
    restore(other, expected);
    EXPECT_EQ(other.entries(), 5) << "what was here stays, equal keys are replaced";
    EXPECT_EQ(std::string(static_cast<const char*>(other[1])), "x");
    EXPECT_EQ(long(other[-1]), 4);

    // A count beyond the file ends with the file.
    ERDBObjPropertyTable read;
    restore(read, "\xFF\xFF\xFF\x7F\5\0\0\0\1\6\0\0\0"_bytes);
    EXPECT_EQ(read.entries(), 1);
    EXPECT_EQ(int(read[5]), 6);
}

} // namespace
