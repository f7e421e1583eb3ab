#include "inspect/keep/store_export.h"

#include "inspect/base/failure.h"
#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"
#include "inspect/keep/store_file.h"
#include "velm/store/db_object.h"
#include "velm/store/store_check.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <vector>

namespace velm::inspect {
namespace {

void write(const std::string& folder, const std::string& shown, const std::string& file,
           const std::string& text) {
    std::ofstream out(folder + "/" + file, std::ios::binary);
    if (!(out << text).flush()) fail_file(shown + "/" + file, "can't be written", errno);
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
    // A line end in it would begin another property.
    return "text " + terminal_text(utf8_text(static_cast<const char*>(property)));
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

std::size_t export_texts(const std::string& file, const std::string& folder,
                         const std::string& shown) {
    return with_store(file, [&] {
        const StoreImage image(file.c_str());
        StoredObjects objects(file.c_str());
        for (const RecordImage& record : image.records)
            write(folder, shown,
                  std::to_string(record.identifier) + "-" +
                      file_name_part(image.class_name(record.signature)) + ".txt",
                  utf8_text(object_text(image, record, objects)));
        return image.records.size();
    });
}

} // namespace velm::inspect
