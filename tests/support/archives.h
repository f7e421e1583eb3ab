// Archives in memory: the bytes that a value stores, values loaded from bytes, damaged bytes.
#pragma once

#include "support/archived.h"
#include "support/caught.h"
#include "support/records.h"

namespace velm_test {

/// A text as an archive holds it.
inline std::string text_bytes(const std::string& text) {
    return bytes_of(static_cast<DWORD>(text.size()), text);
}

/// The cause of the CArchiveException* that the operation meets in an archive with these bytes, 0
/// if it throws none and takes all of them.
template <class Operation>
int load_cause(const std::string& bytes, Operation load) {
    MemoryFile file(bytes);
    CArchive archive(&file, CArchive::load, 128);
    const int cause = archive_cause([&] { load(archive); });
    EXPECT_TRUE(cause != 0 || archive.bytes_left() == 0) << archive.bytes_left() << " bytes left";
    return cause;
}

/// `serialize` loads a value from these bytes. Every archive that is cut short is refused, and
/// every one with bytes changed loaded or refused, by an archive exception that leaves the value
/// alone.
template <class Value, class Serialize>
void expect_loaded(const std::string& good, Value& value, Serialize serialize) {
    Random random = Random::fixed(good.size());
    const std::string kept = archived([&](CArchive& archive) { serialize(archive, value); });
    const auto refuse = [&](const std::string& bytes) {
        Value copy(value);
        MemoryFile file(bytes);
        CArchive archive(&file, CArchive::load, 128);
        const int cause = archive_cause([&] { serialize(archive, copy); });
        if (cause == 0) return cause;
        EXPECT_EQ(archived([&](CArchive& now) { serialize(now, copy); }), kept);
        return cause;
    };
    for (std::size_t size = 0; size < good.size(); ++size)
        EXPECT_EQ(refuse(good.substr(0, size)), CArchiveException::endOfFile) << size;
    for (int copy = 0; copy < 2000; ++copy) {
        std::string changed = good;
        for (int n = random.below(3); n >= 0; --n)
            changed[random.next() % changed.size()] = static_cast<char>(random.next());
        refuse(changed);
    }
    EXPECT_EQ(load_cause(good, [&](CArchive& archive) { serialize(archive, value); }), 0);
}

} // namespace velm_test
