// An object file of any bytes, put to use: every operation ends in a defined way,
// regardless of what it holds.
#pragma once

#include "support/caught.h"
#include "velm/platform/file.h"
#include "velm/store/database.h"
#include "velm/store/object_database.h"
#include "velm/store/store_check.h"
#include "velm/store/store_salvage.h"
#include "velm/wireframe/segment.h"

#include <sstream>
#include <string>

namespace velm_test {

/// The bytes of a file, wherever it is.
inline std::string content_of(const std::string& path) {
    ERFile file;
    if (!file.Open(path.c_str(), CFile::modeRead | CFile::shareDenyNone)) return {};
    std::string content(file.GetLength(), '\0');
    velm::read_bytes(file, content.data(), content.size());
    return content;
}

/// Checks the file and rebuilds it; opens it for reading and for writing, restores, lists, saves,
/// deletes and closes; checks and rebuilds what that has left, if it isn't what was there.
inline void use_store(const std::string& path, const std::string& rebuilt) {
    const auto check = [&] {
        if (ERFile::Exists(rebuilt.c_str())) CFile::Remove(rebuilt.c_str());
        file_cause([&] { velm::check_store(path.c_str()); });
        file_cause([&] { velm::salvage_store(path.c_str(), rebuilt.c_str(), true); });
        file_cause([&] { velm::check_store(rebuilt.c_str()); });
    };
    check();
    const std::string before = content_of(path);
    for (const int read_only : {1, 0}) {
        ERDataBase data;
        if (data.Open(path.c_str(), read_only) != gmSuccess) continue;
        gmErrorCode code;
        for (long index = 0; index < 5; ++index)
            data.restore(index, code);
        std::ostringstream listing;
        file_cause([&] { data.objects()->summarize(listing); });
        t_SmartPtr<ERObject> added(new ERSegment2D(ERPoint2D(0, 0), ERPoint2D(1, 1)));
        for (int i = 0; i < 3 && data.save(added) == gmSuccess; ++i) {
        }
        added->Delete();
        data.Close();
    }
    if (content_of(path) != before) check();
}

} // namespace velm_test
