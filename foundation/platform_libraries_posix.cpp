// Libraries that are looked for while the program runs.
#include <dlfcn.h>

#include "foundation/platform.h"

namespace Foundation {

void* OpenLibrary(const char* name, std::string& reason) {
    void* library = dlopen(name, RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        const char* words = dlerror();
        reason = words ? words : name;
    }
    return library;
}

void* LibrarySymbol(void* library, const char* name) {
    return dlsym(library, name);
}

}  // namespace Foundation
