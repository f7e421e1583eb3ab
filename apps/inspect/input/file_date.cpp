#include "inspect/input/file_date.h"

#include <sys/stat.h>

#include <array>
#include <ctime>

namespace velm::inspect {

std::string file_date(const std::string& path) {
    struct stat status {};
    std::tm day{};
    if (path == "-" || ::stat(path.c_str(), &status) != 0 ||
        ::gmtime_r(&status.st_mtime, &day) == nullptr)
        return {};
    std::array<char, 32> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d", &day)};
}

void fill_in_date(std::vector<NamedText>& info, const std::string& measured) {
    for (NamedText& said : info)
        if (said.name == "date" && said.text == "file") said.text = file_date(measured);
}

} // namespace velm::inspect
