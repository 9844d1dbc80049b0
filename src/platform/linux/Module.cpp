#include "platform/linux/Module.h"

#include "platform/DebugLog.h"
#include "platform/DynamicLibrary.h"
#include "platform/path.h"

namespace kestrav::platform {

void *moduleEntry(const std::string &path, const char *entry, std::string &failure) {
    const DynamicLibrary library(path);
    void *const address = library.isOpen() ? library.address(entry) : nullptr;
    if (address == nullptr) {
        const std::string file = lastPathComponent(path);
        failure = library.isOpen() ? path + ": the module is damaged" : library.error();
        _DLog("%s [Line %d] no %@: %@", "void *moduleEntry(path, entry, failure)", __LINE__,
              file.substr(0, file.find('.')), failure);
    }
    return address;
}

} // namespace kestrav::platform
