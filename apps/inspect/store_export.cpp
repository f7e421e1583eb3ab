#include "inspect/store_export.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

#include "inspect/failure.h"
#include "inspect/number_text.h"
#include "inspect/store_file.h"
#include "velm/store/db_object.h"
#include "velm/store/store_check.h"

namespace velm::inspect {
namespace {

namespace fs = std::filesystem;

// A folder made beside its place, removed unless it is put there.
class NewFolder {
public:
    explicit NewFolder(const std::string& place) : place_(place) {
        fs::path path(place);
        if (path.filename().empty()) path = path.parent_path();
        if (fs::exists(fs::symlink_status(path))) fail_file(place, "can't be made", EEXIST);
        place_ = path.string();
        name_ = (path.parent_path() / ("." + path.filename().string() + ".XXXXXX")).string();
        if (::mkdtemp(name_.data()) == nullptr) fail_file(place, "can't be made", errno);
        ::chmod(name_.c_str(), 0755);
    }
    ~NewFolder() {
        std::error_code error;
        if (!name_.empty()) fs::remove_all(name_, error);
    }
    void write(const std::string& file, const std::string& text) const {
        std::ofstream out(name_ + "/" + file, std::ios::binary);
        if (!(out << text).flush()) fail_file(place_ + "/" + file, "can't be written", errno);
    }
    void put_in_place() {
        if (::renameat2(AT_FDCWD, name_.c_str(), AT_FDCWD, place_.c_str(), RENAME_NOREPLACE) != 0)
            fail_file(place_, "can't be made", errno);
        name_.clear();
    }

private:
    std::string place_;
    std::string name_;
};

// Bytes above ASCII that are no UTF-8 become the characters of their Latin-1 numbers.
std::string utf8(const std::string& bytes) {
    std::string text;
    for (std::size_t at = 0; at < bytes.size();) {
        const auto byte = static_cast<unsigned char>(bytes[at]);
        const std::size_t length = byte < 0x80               ? 1
                                   : (byte & 0xE0u) == 0xC0u ? 2
                                   : (byte & 0xF0u) == 0xE0u ? 3
                                   : (byte & 0xF8u) == 0xF0u ? 4
                                                             : 0;
        bool whole = length > 0 && at + length <= bytes.size();
        for (std::size_t k = 1; whole && k < length; ++k)
            whole = (static_cast<unsigned char>(bytes[at + k]) & 0xC0u) == 0x80u;
        if (whole) {
            text.append(bytes, at, length);
            at += length;
        } else {
            text += static_cast<char>(0xC0u | (byte >> 6));
            text += static_cast<char>(0x80u | (byte & 0x3Fu));
            ++at;
        }
    }
    return text;
}

std::string property_text(const ERDBObjProperty& property) {
    switch (property.getType()) {
    case ERDBObjProperty::undefined:
        return "undefined";
    case ERDBObjProperty::long_value:
        return "long " + std::to_string(int(property));
    case ERDBObjProperty::unsigned_long_value:
        return "unsigned long " + std::to_string(static_cast<unsigned int>(property));
    case ERDBObjProperty::double_value:
        return "double " + shortest(double(property));
    case ERDBObjProperty::string_value:
        break;
    }
    return "text " + std::string(static_cast<const char*>(property));
}

std::string properties_text(const ERDBObject& record) {
    std::vector<std::pair<long, std::string>> lines;
    for (const auto& pair : record.properties())
        lines.emplace_back(pair.key, property_text(pair.value));
    std::sort(lines.begin(), lines.end());
    std::string text;
    for (const auto& [key, value] : lines)
        text += "property " + std::to_string(key) + ": " + value + "\n";
    if (record.object())
        text += "describes object " + std::to_string(record.object()->getObjectID()) + ", " +
                record.object()->className() + "\n";
    return text;
}

std::string hexadecimal(const std::string& bytes) {
    std::string text;
    char pair[4];
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        std::snprintf(pair, sizeof pair, "%02x", static_cast<unsigned char>(bytes[at]));
        text += pair;
        text += at % 16 == 15 || at + 1 == bytes.size() ? "\n" : " ";
    }
    return text;
}

std::string object_text(const StoreImage& image, const RecordImage& record,
                        StoredObjects& objects) {
    const std::string class_name = image.class_name(record.signature);
    std::string text = "object " + std::to_string(record.identifier) + "\nclass " +
                       (class_name.empty() ? "unknown" : class_name) + "\n";
    const t_SmartPtr<ERObject> object = objects.create(record.identifier);
    if (!object)
        return text + "bytes, the class having no text here:\n" + hexadecimal(image.guts(record));
    std::ostringstream printed;
    object->printOn(printed);
    text += printed.str();
    if (!text.ends_with('\n')) text += '\n';
    if (const ERDBObject* const described = ERDBObject::castdown(object.get()))
        text += properties_text(*described);
    return text;
}

// A class name as part of a file name.
std::string file_name_part(std::string name) {
    for (char& c : name)
        if (std::isalnum(static_cast<unsigned char>(c)) == 0 && c != '_') c = '_';
    return name.empty() ? "unknown" : name.substr(0, 60);
}

} // namespace

std::size_t export_texts(const std::string& file, const std::string& folder) {
    return with_store(file, [&] {
        const StoreImage image(file.c_str());
        StoredObjects objects(file.c_str());
        NewFolder made(folder);
        for (const RecordImage& record : image.records)
            made.write(std::to_string(record.identifier) + "-" +
                           file_name_part(image.class_name(record.signature)) + ".txt",
                       utf8(object_text(image, record, objects)));
        made.put_in_place();
        return image.records.size();
    });
}

} // namespace velm::inspect
