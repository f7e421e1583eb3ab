// A host that names only the root class: every class of the library is there by its name, with the
// static library too, and each creatable one can be created. Prints the classes it found.
#include <velm/frame/class_registration.h>
#include <velm/frame/object.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

int main() {
    std::vector<std::string> names;
    for (ERClassRegistration const* registration : velm::registered_classes())
        names.emplace_back(registration->getName());
    std::sort(names.begin(), names.end());
    for (std::string const& name : names) {
        ERClassRegistration::Creator const creator = ERClassRegistration::findCreator(name.c_str());
        std::printf("%s%s\n", name.c_str(), creator != nullptr ? " creatable" : "");
        if (creator == nullptr) continue;
        ERObject* object = creator();
        if (object == nullptr || std::strcmp(object->className(), name.c_str()) != 0) {
            std::fprintf(stderr, "%s is not created by its name\n", name.c_str());
            return 1;
        }
        delete object;
    }
    return names.empty() ? 1 : 0;
}
