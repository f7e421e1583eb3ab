// What the tests of the store share: objects to store, bytes of a file, and the check that every
// test ends with.
#pragma once

#include "velm/frame/object.h"
#include "velm/frame/stored_form.h"
#include "velm/frame/stored_reference.h"
#include "velm/frame/vec.h"
#include "velm/store/database.h"
#include "velm/store/object_database.h"
#include "velm/store/store_check.h"

#include "support/temporary_folder.h"
#include "support/test.h"

namespace velm_test {

/// An object of any size: a number and bytes.
class Sample : public ERObject {
    VELM_DECLARE_CLASS(Sample)
    Sample() = default;
    Sample(int number_, int bytes) : number(number_), content(bytes, static_cast<char>(number_)) {}
    ERObject* getCopy() const override { return new Sample(*this); }
    void printOn(std::ostream& out) const override { out << "Sample " << number; }
    void saveGuts(ERFile& file) const override;
    void restoreGuts(ERFile& file) override;
    unsigned int binaryStoreSize() const override;

    bool operator==(const Sample& other) const {
        return number == other.number && std::equal(content.begin(), content.end(),
                                                    other.content.begin(), other.content.end());
    }

    int number = 0;
    ERVec<char> content;

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.number);
        form(self.content);
    }
};

/// An object that refers to others: to one, and to a list of them.
class Link : public ERObject {
    VELM_DECLARE_CLASS(Link)
    ERObject* getCopy() const override { return new Link(*this); }
    void printOn(std::ostream& out) const override { out << "Link"; }
    void saveGuts(ERFile& file) const override;
    void restoreGuts(ERFile& file) override;
    unsigned int binaryStoreSize() const override;

    t_SmartPtr<ERObject> one;
    ERTValDlist<t_SmartPtr<Sample>> several;

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.one);
        form(self.several);
    }
};

/// The faults of a file, a line each; empty for a sound one.
inline std::string faults_of(const std::string& path) {
    const velm::StoreReport report = velm::check_store(path.c_str());
    std::string text;
    for (const velm::StoreFault& fault : report.faults.list())
        text += std::to_string(fault.offset) + ": " + fault.what + "\n";
    return text;
}

/// A folder, and the file in it that a test is about.
struct StoreTest : testing::Test {
    TemporaryFolder folder;
    std::string path = folder.path("store");

    std::string bytes() const { return TemporaryFolder::bytes_of(path); }
    void expect_sound() const {
        if (ERFile::Exists(path.c_str())) {
            EXPECT_EQ(faults_of(path), "");
        }
    }
};

/// A number from the environment, or the one for every day.
inline int setting(const char* name, int everyday) {
    const char* const given = std::getenv(name);
    return given != nullptr ? std::atoi(given) : everyday;
}

/// The bytes of a file that was made once, and that must be read and made alike for ever.
inline std::string golden(const std::string& name) {
    return TemporaryFolder::bytes_of(VELM_TEST_FOLDER "/store/data/" + name);
}

/// Little-endian words of a file's bytes.
inline std::int32_t word_at(const std::string& bytes, std::size_t offset) {
    std::int32_t word = 0;
    if (offset + 4 <= bytes.size()) std::memcpy(&word, bytes.data() + offset, 4);
    return word;
}

/// The bytes with another word at the offset.
inline std::string with_word(std::string bytes, std::size_t offset, std::int32_t word) {
    return bytes.replace(offset, 4, reinterpret_cast<const char*>(&word), 4);
}

inline std::string words(std::initializer_list<std::int32_t> values) {
    std::string bytes;
    for (const std::int32_t value : values)
        bytes.append(reinterpret_cast<const char*>(&value), 4);
    return bytes;
}

} // namespace velm_test
