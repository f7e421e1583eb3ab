// The page of a section, read as text: the same numbers as the JSON, and nothing from the network.
#include "workshop.h"

#include <random>
#include <regex>

namespace velm_test {
namespace {

// The cells of the rows of the table, the id first, as the page without its script shows them.
std::vector<std::vector<std::string>> rows_of(const std::string& page) {
    std::vector<std::vector<std::string>> rows;
    const std::size_t points = page.find("<h2>Points"); // after the worst ones
    const std::size_t from = page.find("<tbody>", points), to = page.find("</tbody>", points);
    const std::regex cell("<t[hd][^>]*>([^<]*)</t[hd]>");
    for (std::size_t at = page.find("<tr", from); at < to; at = page.find("<tr", at + 1)) {
        const std::string row = std::regex_replace(page.substr(at, page.find("</tr>", at) - at),
                                                   std::regex("<wbr>"), "");
        auto& cells = rows.emplace_back();
        for (std::sregex_iterator i(row.begin(), row.end(), cell), end; i != end; ++i)
            cells.push_back((*i)[1]);
    }
    return rows;
}

// `cell` is `value`, rounded to its own decimals.
void expect_rounded(const std::string& cell, double value) {
    const std::size_t point = cell.find('.');
    const double decimals =
        point == std::string::npos ? 0.0 : static_cast<double>(cell.size() - point - 1);
    EXPECT_NEAR(std::stod(cell), value, 0.5001 * std::pow(10.0, -decimals)) << cell;
}

std::vector<std::string> found(const std::string& text, const char* pattern) {
    const std::regex regex(pattern);
    std::vector<std::string> all;
    for (std::sregex_iterator i(text.begin(), text.end(), regex), end; i != end; ++i)
        all.push_back(i->str());
    return all;
}

// No browser would ask for what is not in the page, and no name is in it twice.
void expect_self_contained(const std::string& page) {
    for (const char* pattern : {"https?:", "\\bsrc", "@import", "<(link|iframe|object|base)\\b",
                                "href=\"[^#]", "url\\([^#]"})
        EXPECT_EQ(found(page, pattern), std::vector<std::string>{}) << pattern;
    const std::vector<std::string> names = found(page, "\\bid=\"[^\"]*\"");
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), names.size());
}

TEST(SectionPage, HasEachRowOnceWithTheNumbersOfTheJson) {
    Workshop shop;
    shop.write("plate.txt", "</title><i>&\n" + std::string(plate).substr(6));
    shop.write("m.csv", "id,x,y,z,diameter\n\"<script>alert(1)</script>\",5,-0.1,3,0\n"
                        "\"</td></table>&\"\"'\",10.07,5,3.01,0\n\"a\nb\",4.02,5,2.99,0\n"
                        "-1,-.5,5,3,1\n\"=1+1\",5,10.04,3,0\n");
    ASSERT_EQ(shop.run("section plate.txt m.csv --tolerance 0.05 --frame 0 0 3 0 0 1 1 0 0 "
                       "--json j.json --html p.html")
                  .code,
              1);
    const auto points = shop.read_json("j.json")["points"];
    const std::string page = shop.read("p.html");
    const std::vector<const char*> ids{"&lt;script&gt;alert(1)&lt;/script&gt;",
                                       "&lt;/td&gt;&lt;/table&gt;&amp;&quot;&#39;", "a\\nb", "-1",
                                       "=1+1"};
    const auto rows = rows_of(page);
    ASSERT_EQ(rows.size(), ids.size());
    for (std::size_t n = 0; n < rows.size(); ++n) {
        SCOPED_TRACE(n);
        ASSERT_EQ(rows[n].size(), 12u);
        EXPECT_EQ(rows[n][0], ids[n]);
        expect_rounded(rows[n][1], points[n]["deviation"]);
        EXPECT_EQ(rows[n][2], points[n]["in_tolerance"] == true ? "in" : "out");
        for (std::size_t axis = 0; axis < 3; ++axis)
            expect_rounded(rows[n][3 + axis], points[n]["measured"][axis]);
        expect_rounded(rows[n][6], points[n]["height"]);
        expect_rounded(rows[n][7], points[n]["foot"][0]);
        expect_rounded(rows[n][8], points[n]["foot"][1]);
        EXPECT_EQ(rows[n][9], points[n]["contour"].dump());
        expect_rounded(rows[n][10], points[n]["distance"]);
        EXPECT_EQ(rows[n][11], points[n]["place"]);
    }
    EXPECT_EQ(found(page, "<script|<i>|</table>").size(), 2u);
    expect_self_contained(page);
}

// Of 12,000 points at random the page has the worst 5,000, in their order; of equal ones the first.
TEST(SectionPage, KeepsTheWorstOfVeryManyPoints) {
    Workshop shop;
    shop.write("plate.txt", plate);
    std::mt19937 random(20);
    std::string points = "id,x,y\n";
    for (int n = 0; n < 12000; ++n)
        points += std::to_string(n) + "," + std::to_string(1 + n % 3) + ",1" +
                  (n % 2 == 0 ? "0." : "1.") + std::to_string(1000 + random() % 2000) + "\n";
    shop.write("m.csv", points);
    ASSERT_EQ(shop.run("section plate.txt m.csv --tolerance 0 2 --json j.json --html p.html").code,
              0);
    std::vector<std::pair<double, int>> severities;
    const auto found_points = shop.read_json("j.json")["points"];
    for (const auto& point : found_points)
        severities.emplace_back(-std::fabs(point["deviation"].get<double>() - 1.0),
                                static_cast<int>(severities.size()));
    std::sort(severities.begin(), severities.end());
    std::vector<int> expected, shown;
    for (std::size_t n = 0; n < 5000; ++n)
        expected.push_back(severities[n].second);
    std::sort(expected.begin(), expected.end());
    const std::string page = shop.read("p.html");
    for (const auto& row : rows_of(page))
        shown.push_back(std::stoi(row[0]));
    EXPECT_EQ(shown, expected);
    EXPECT_TRUE(has(page, "The 5,000 worst of 12,000 points."));
    expect_self_contained(page);
}

} // namespace
} // namespace velm_test
