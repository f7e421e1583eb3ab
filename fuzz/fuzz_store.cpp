// Any bytes as an object file: checked, rebuilt, opened, read, written to and closed.
#include "velm/store/database.h"
#include "velm/store/object_database.h"
#include "velm/store/store_check.h"
#include "velm/store/store_salvage.h"
#include "velm/wireframe/segment.h"

#include "support/caught.h"
#include "support/temporary_folder.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <sstream>
#include <string>

namespace {

bool succeeds(const std::function<void()>& operation) {
    return velm_test::file_cause(operation) == 0;
}

void read_and_write(const std::string& path) {
    ERDataBase data;
    if (data.Open(path.c_str(), 0) != gmSuccess) return;
    gmErrorCode code;
    for (long index = 0; index < 4; ++index)
        data.restore(index, code);
    std::ostringstream listing;
    succeeds([&] { data.objects()->summarize(listing); });
    t_SmartPtr<ERObject> added(new ERSegment2D(ERPoint2D(0, 0), ERPoint2D(1, 1)));
    data.save(added);
    data.save(added);
    added->Delete();
    data.Close();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const velm_test::TemporaryFolder folder;
    const std::string path =
        folder.file("store", std::string(reinterpret_cast<const char*>(data), size));
    const std::string rebuilt = folder.path("rebuilt");
    std::remove(rebuilt.c_str());
    succeeds([&] { velm::check_store(path.c_str()); });
    const bool made = succeeds([&] { velm::salvage_store(path.c_str(), rebuilt.c_str(), true); });
    if (made) succeeds([&] { velm::check_store(rebuilt.c_str()); });
    read_and_write(path);
    return 0;
}
