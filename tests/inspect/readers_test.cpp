// The readers of outlines and measured points, numbers, and texts made safe.
#include "inspect/base/number_text.h"
#include "inspect/base/repeated_ids.h"
#include "inspect/base/text_escape.h"
#include "inspect/input/measured_reader.h"
#include "inspect/input/outline_reader.h"
#include "inspect/sentences.h"

#include <nlohmann/json.hpp>

namespace velm::inspect {
namespace {

using velm_test::sentence_of;

NominalOutline outline_of(std::string_view text, OutlineForm form = OutlineForm::automatic) {
    TextSource source("o.dat", text);
    return read_outline(source, form);
}

// A text that is refused, the line that is named, 0 for none, and the cause.
using Refusal = std::tuple<std::string, int, std::string>;
std::string sentence(const std::string& file, int line, const std::string& cause) {
    return file + (line > 0 ? ", line " + std::to_string(line) : "") + ": " + cause;
}

std::vector<MeasuredPoint> points_of(std::string_view text) {
    TextSource source("m.csv", text);
    MeasuredReader reader(source);
    std::vector<MeasuredPoint> points;
    for (MeasuredPoint point; reader.next(point);)
        points.push_back(point);
    return points;
}

TEST(Numbers, ReadTheWholeTextOrSayWhatIsWrong) {
    EXPECT_EQ(parse_number("-.05").value, -0.05);
    EXPECT_EQ(parse_number("+5.").value, 5.0);
    EXPECT_EQ(parse_number("-5e-2").value, -0.05);
    EXPECT_EQ(parse_number("1,5", true).value, 1.5);
    EXPECT_EQ(parse_number("5e-324").value, 5e-324);
    for (const char* tiny : {"1e-400", "-0.00001e-330", "0.0e999", "0e400"})
        EXPECT_TRUE(parse_number(tiny) && parse_number(tiny).value == 0.0) << tiny;
    for (const char* word : {"", "+", "-", "+-1", "1 ", "1,5", "0x10", "1e", "..", "1.2.3", "--1"})
        EXPECT_EQ(parse_number(word).fault, NumberFault::not_a_number) << word;
    EXPECT_EQ(parse_number("1.234,5", true).fault, NumberFault::not_a_number);
    for (const char* huge : {"1e309", "-1e999", "0.001e400", "1e99999999999999999999"})
        EXPECT_EQ(parse_number(huge).fault, NumberFault::beyond_double) << huge;
    for (const char* strange : {"nan", "-NaN", "inf", "+Infinity"})
        EXPECT_EQ(parse_number(strange).fault, NumberFault::not_finite) << strange;
    EXPECT_EQ(shortest(-0.0) + fixed(-0.0004, 3) + fixed(-0.0006, 3), "00.000-0.001");
}

TEST(OutlineReader, ContoursAreReadAsTheyAreFound) {
    const NominalOutline plain =
        outline_of("\xEF\xBB\xBF Wing 7 \r\n0,0\r\n10 , 0\t\r\n  10\t10 # corner\r\n"
                   "# no gap\r\n0 10\r\n0 0\r\n \r\n\r\n4 4\r\n4 6\r\n6 6\r\n");
    EXPECT_EQ(plain.title, "Wing 7");
    ASSERT_EQ(plain.contours.size(), 2u);
    EXPECT_EQ(plain.contours[0].size(), 4) << "the closing vertex is merged";
    EXPECT_EQ(plain.contours[0][1], ERPoint2D(10.0, 0.0));
    EXPECT_EQ(plain.contours[1].size(), 3);
    EXPECT_EQ(outline_of("0 0\r1 0\r1 1").contours[0].size(), 3) << "CR alone ends a line";
    EXPECT_EQ(outline_of("0 0\n1 0\n\n1 1\n0 1\n", OutlineForm::round).contours[0].size(), 4);
}

TEST(OutlineReader, TheTwoLayoutsOfAirfoilsGiveTheSameOutline) {
    const NominalOutline round = outline_of("P\n1 0\n.5 .1\n0 0\n.5 -.1\n1 0\n");
    const NominalOutline runs =
        outline_of("P\n 3. 3.\n\n0 0\n.5 .1\n1 0\n\n0 0\n.5 -.1\n1 0\n", OutlineForm::automatic);
    EXPECT_EQ(runs.form, OutlineForm::runs);
    ASSERT_EQ(round.contours.size(), 1u);
    ASSERT_EQ(runs.contours.size(), 1u);
    const auto first = round.contours[0].vertices().view();
    const auto second = runs.contours[0].vertices().view();
    ASSERT_EQ(first.size(), 4u);
    EXPECT_TRUE(std::equal(first.begin(), first.end(), second.begin(), second.end()));
    // An open trailing edge keeps both of its ends; counts that don't add up are a vertex.
    EXPECT_EQ(outline_of("3 3\n0 0\n.5 .1\n1 .01\n0 0\n.5 -.1\n1 -.01\n").contours[0].size(), 5);
    EXPECT_EQ(outline_of("3 4\n0 0\n.5 .1\n1 0\n").contours[0].size(), 4);
    EXPECT_EQ(outline_of("2 2\n0 0\n4 0\n4 4\n0 4\n", OutlineForm::contours).contours[0].size(), 5);
    EXPECT_EQ(sentence_of([] { outline_of("2 3\n0 0\n1 0\n1 1\n", OutlineForm::runs); }),
              "o.dat, line 1: expected the counts of an upper and a lower run that sum up to the 3 "
              "vertices that follow");
}

TEST(OutlineReader, RefusalsNameTheLineAndTheCause) {
    const std::string contour = "the contour that starts here ";
    const Refusal cases[] = {
        {"", 0, "the file is empty; expected an outline"},
        {"title\n\n", 0, "no vertices; expected lines of two numbers, x and y"},
        {"0 0\n1 0\n", 1, contour + "has 2 different vertices; expected at least three"},
        {"0 0\n1 0\n1 1\n\n5 5\n5 5\n5 5\n", 5,
         contour + "has 1 different vertex; expected at least three"},
        {"0 0\n1 1\n2 2\n", 1,
         "the vertices of the contour that starts here are on one line; expected an outline round "
         "an area"},
        {"t\n0 0\n1 nan\n", 3, "expected a finite number, found 'nan'"},
        {"-inf 0\n", 1, "expected a finite number, found '-inf'"},
        {"0 0\n1e999 0\n", 2, "the number '1e999' is beyond what a double can hold"},
        {"one\ntwo\n0 0\n", 2, "expected two numbers, x and y, found 'two'"},
        {"0 0\n1 0 0\n", 2, "expected two numbers, x and y, found '1 0 0'"},
        {"0 0\n1 a\n", 2, "expected a number, found 'a'"},
        {"0 0\n1,,0\n", 2, "expected two numbers, x and y, found '1,,0'"},
        {"M 0 0\nL 1 nan\n", 2, "expected a finite number, found 'nan'"},
        {"t\nM 0\n", 2, "expected M x y, found 'M 0'"},
        {"C 0 0 1\n1 1\n", 2, "expected M, L, A, N, Z or C, found '1 1'"},
        {"M 0 0\nA 2 0 1 0 left\n", 2, "expected ccw or cw, found 'left'"},
        {"M 0 0\nA 2 0 1 0\n", 2, "expected A x y cx cy and ccw or cw, found 'A 2 0 1 0'"},
        {"M 0 0\nZ 1\n", 2, "expected Z alone, found 'Z 1'"},
        {"L 1 1\n", 1, "no contour is open for L; expected M or C"},
        {"M 0 0\nL 1 0\nL 0 1\nC 5 5 1\n", 1, contour + "isn't closed; expected Z at its end"},
        {"M 5 0\nA 0 5.1 0 0 ccw\nZ\n", 2,
         "the ends of the arc are not equally far from its centre: 5 and 5.1 differ by more than "
         "0.0000051"},
        {"M 5 0\nA 0 5 5 0 cw\n", 2, "the centre of the arc is one of its ends"},
        {"C 0 0 -1\n", 1, "expected a positive radius, found '-1'"},
        {"M 0 0\nL 1 0\nZ\n", 1, contour + "has 2 different vertices; expected at least three"},
        {"M 1 0\nA 0 1 0 0 ccw\nA 1 0 0 0 cw\nZ\n", 1,
         contour + "leads back along its own arc; expected an outline round an area"},
        {"C 1e308 0 1e308\n", 1, contour + "reaches beyond what a double can hold"},
        {std::string("0 0\n1 0\n\0", 9), 3, "a zero byte; this is a binary file, expected text"},
        {"\xFF\xFE"
         "0",
         0, "the text is in UTF-16; expected UTF-8 or plain ASCII"},
    };
    for (const auto& [text, line, cause] : cases)
        EXPECT_EQ(sentence_of([&text = text] { outline_of(text); }),
                  sentence("o.dat", line, cause));
}

// A full turn, a slot turned the other way, what is closed without Z and what Z closes.
TEST(OutlineReader, LinesAndArcsMakeContours) {
    const NominalOutline outline =
        outline_of("Bracket\nM 5,0\nL 5 0\nL 9 0 # side\n\nA 9 2 9 1 ccw\nL 5 2\nZ\nC 6 1 .5\n"
                   "M 9 1\nA 9 1 8 1 cw\nM 1 0\nA 0 1 0 0 ccw\nA -1.0000005 0 0 0 ccw\nZ\n");
    EXPECT_EQ(outline.title, "Bracket");
    EXPECT_EQ(outline.form, OutlineForm::arcs);
    ASSERT_EQ(outline.contours.size(), 4u);
    const double pi = std::acos(-1.0);
    const double areas[] = {8.0 + pi / 2.0, pi / 4.0, -pi, pi / 2.0};
    for (std::size_t c = 0; c < 4; ++c)
        EXPECT_NEAR(outline.contours[c].signed_area(), areas[c], 1e-6) << c;
    EXPECT_EQ(outline_of("M 1 2 3\nC 0 0 1\n").title, "M 1 2 3") << "not exactly its numbers";
    EXPECT_EQ(outline_of("C 0 0 1\n0 0\n1 0\n1 1\n", OutlineForm::round).title, "C 0 0 1");
}

TEST(MeasuredReader, HeadersSeparatorsAndQuotes) {
    const auto full =
        points_of("Note,diameter, y,ID ,x,k,j,i,z\r\n"
                  "\"a, b\",2,-.5,\"7\",+1e1,1,0,0,3\r\n\r\n,,1,8,2,,,,\r\n,,,,,,,,\r\n");
    ASSERT_EQ(full.size(), 2u);
    EXPECT_EQ(full[0].id, "7");
    EXPECT_EQ(full[0].x, 10.0);
    EXPECT_EQ(full[0].y, -0.5);
    EXPECT_EQ(full[0].z, 3.0);
    EXPECT_EQ(full[0].approach[2], 1.0);
    EXPECT_EQ(full[0].diameter, 2.0);
    EXPECT_EQ(full[1].diameter, std::nullopt);
    EXPECT_EQ(full[1].line, 4u);

    const auto comma = points_of("\xEF\xBB\xBFid;x;y\nA;1,5;-0,25\nB;1,5;2\n");
    EXPECT_EQ(comma[0].x, 1.5);
    EXPECT_EQ(comma[0].y, -0.25);
    EXPECT_EQ(comma[1].x, 1.5);
    EXPECT_EQ(points_of("x\ty\tid\n1\t2\t\n")[0].y, 2.0);

    EXPECT_EQ(points_of("\"a; b; c; d\",5\" id,id,x,y\n,,q,1,2\n")[0].id, "q");
    const auto quoted = points_of("id,x,y\n\"a \"\"b\"\"\n,c\",1,2\n5\" pipe,3,4\n\" d \" ,5,6\n");
    EXPECT_EQ(quoted[0].id, "a \"b\"\n,c");
    EXPECT_EQ(quoted[1].id, "5\" pipe");
    EXPECT_EQ(quoted[1].line, 4u);
    EXPECT_EQ(quoted[2].id, " d ");
}

TEST(MeasuredReader, RefusalsNameTheLineTheColumnAndTheCause) {
    const Refusal cases[] = {
        {"", 0, "the file is empty; expected CSV with a header"},
        {"id,x\n", 1, "expected a header with the columns id, x and y; missing: y; found: 'id, x'"},
        {"1,2,3\n", 1,
         "expected a header with the columns id, x and y; missing: x, y; found: '1, 2, 3'"},
        {"id,x,y,X\n", 1, "the header names the column 'x' twice"},
        {"id,x,y\n1,2,3\n2,,3\n", 3, "column x: expected a number, found nothing"},
        {"id,x,y\n\n1,2\n", 3, "column y: expected a number, found nothing"},
        {"id,x,y\n1,abc,3\n", 2, "column x: expected a number, found 'abc'"},
        {"id,x,y\n1,0,NaN\n", 2, "column y: expected a finite number, found 'NaN'"},
        {"id,x,y,z\n1,0,0,inf\n", 2, "column z: expected a finite number, found 'inf'"},
        {"id,x,y\n1,-1e309,0\n", 2,
         "column x: the number '-1e309' is beyond what a double can hold"},
        {"id,x,y,diameter\n1,0,0,-1\n", 2,
         "column diameter: expected no negative number, found '-1'"},
        {"id,x,y\n1,1,5,2,5\n", 2, "expected 3 fields, as the header has, found 5"},
        {"id,x,y\n\"1,1,5\n2,0,0\n", 2, "a quoted field starts here and isn't closed"},
        {"id,x,y\n\"1\"a,1,5\n", 2, "text after the closing quote of a field: 'a'"},
        {std::string("id,x,y\n1,0,0\n\0\n", 14), 3,
         "a zero byte; this is a binary file, expected text"},
        {"id,x,y\n" + std::string(3000000, '7'), 2, "the line is longer than a mebibyte"},
    };
    for (const auto& [text, line, cause] : cases)
        EXPECT_EQ(sentence_of([&text = text] { points_of(text); }), sentence("m.csv", line, cause));
}

TEST(TextSource, LinesAreTheSameWhereverBlocksEnd) {
    // Lines whose ends fall on every place of a block's border.
    std::string text = "id,x,y\r\n";
    for (int i = 0; i < 60000; ++i)
        text += std::to_string(i) + (i % 3 == 0 ? ",1,2\r\n" : i % 3 == 1 ? ",1,2\n" : ",1,2\r");
    const auto points = points_of(text);
    ASSERT_EQ(points.size(), 60000u);
    for (std::size_t i = 0; i < points.size(); ++i)
        ASSERT_TRUE(points[i].id == std::to_string(i) && points[i].line == i + 2);
}

TEST(Escapes, HostileIdsHarmNoOutput) {
    const std::string hostile =
        "<script>alert('x')</"
        "script>&\"\\\n\r\t\x1b[31m\x7f\xc2\x9b\xff\xe2\x80\xae\xed\xa0\x80\xe2\x82";
    std::string json;
    append_json_string(json, hostile);
    EXPECT_EQ(nlohmann::json::parse(json).get<std::string>().substr(0, 37), hostile.substr(0, 37));
    std::string ascii;
    append_json_string(ascii, hostile, true);
    EXPECT_EQ(nlohmann::json::parse(ascii), nlohmann::json::parse(json));
    EXPECT_TRUE(
        std::all_of(ascii.begin(), ascii.end(), [](char c) { return c >= 0x20 && c < 0x7F; }));

    EXPECT_EQ(terminal_text(hostile),
              "<script>alert('x')</script>&\"\\\\n\\x0d\\t\\x1b[31m\\x7f\\x9b\\xff\\u{202e}"
              "\\xed\\xa0\\x80\\xe2\\x82");
    EXPECT_EQ(xml_text("<a b='c\"&\x1b\n\xff>\xc3\xa4"),
              "&lt;a b=&#39;c&quot;&amp;&#x241b;&#x240a;\xEF\xBF\xBD&gt;\xc3\xa4");

    std::string csv;
    append_csv_field(csv, hostile);
    const auto back = points_of("id,x,y\n" + csv + ",1,2\n");
    std::string expected = hostile;
    expected[expected.find('\r')] = '\n'; // line ends within a field come out alike
    EXPECT_EQ(back[0].id, expected);
    EXPECT_EQ(display_width("a\xCC\x88\xE4\xB8\xAD"), 3u)
        << "a combining mark and a wide character";
}

TEST(IdSet, TellsRepeatedIdsOfEveryKind) {
    IdSet ids;
    for (int i = 0; i < 200000; ++i)
        for (const char* name : {"", "bore ", "P0", "P"})
            ASSERT_TRUE(ids.insert(name + std::to_string(i))) << name << i;
    for (const char* other : {"7.0", " 7", "-7", "18446744073709551615", "007", "x", "", "\xff",
                              "P007", "1000000000000000000000", "P10000000000000007"})
        EXPECT_TRUE(ids.insert(other)) << other;
    for (const char* again : {"7", "0", "199999", "", "007", "P7", "P07", "18446744073709551615",
                              "x", "P007", "bore 0", "P10000000000000007"})
        EXPECT_FALSE(ids.insert(again)) << again;
}

} // namespace
} // namespace velm::inspect
