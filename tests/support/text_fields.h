// The words and numbers of a line of a data file.
#pragma once

#include "support/test.h"

namespace velm_test {

/// Reads words and numbers of one line.
class TextFields {
public:
    explicit TextFields(const std::string& line) : in_(line) {}
    std::string word() {
        std::string text;
        in_ >> text;
        return text;
    }
    double number() { return std::strtod(word().c_str(), nullptr); }
    int whole() { return static_cast<int>(number()); }
    std::vector<double> rest() {
        std::vector<double> values;
        for (std::string text; in_ >> text;)
            values.push_back(std::strtod(text.c_str(), nullptr));
        return values;
    }

private:
    std::istringstream in_;
};

} // namespace velm_test
