#include "attbat/update/CurlLibrary.h"

#include <dlfcn.h>

#include <mutex>

namespace attbat {

namespace {

// The name the library has on the system, as its run-time package installs it.
constexpr const char* kCurlFile = "libcurl.so.4";

struct Loaded {
    CurlLibrary functions;
    std::string error;  // "" once loaded
};

template <class Function>
bool Find(void* library, const char* name, Function& function, std::string& error) {
    function = reinterpret_cast<Function>(::dlsym(library, name));
    if (!function) error = std::string(kCurlFile) + " has no " + name;
    return function != nullptr;
}

Loaded Load() {
    Loaded loaded;
    // Never closed: the library keeps threads and state of its own once initialised.
    void* library = ::dlopen(kCurlFile, RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        const char* why = ::dlerror();
        loaded.error = "the HTTP library could not be loaded (" +
                       std::string(why ? why : kCurlFile) + ")";
        return loaded;
    }
    CurlLibrary& f = loaded.functions;
    std::string& e = loaded.error;
    const bool found = Find(library, "curl_global_init", f.globalInit, e) &&
                       Find(library, "curl_easy_init", f.easyInit, e) &&
                       Find(library, "curl_easy_setopt", f.easySetopt, e) &&
                       Find(library, "curl_easy_perform", f.easyPerform, e) &&
                       Find(library, "curl_easy_getinfo", f.easyGetinfo, e) &&
                       Find(library, "curl_easy_strerror", f.easyStrerror, e) &&
                       Find(library, "curl_easy_cleanup", f.easyCleanup, e);
    if (!found) {
        e = "the HTTP library could not be used: " + e;
        return loaded;
    }
    if (f.globalInit(CURL_GLOBAL_DEFAULT) != CURLE_OK) e = "the HTTP library could not start";
    return loaded;
}

}  // namespace

const CurlLibrary* LoadCurl(std::string& error) {
    static std::once_flag once;
    static Loaded loaded;
    std::call_once(once, [] { loaded = Load(); });
    error = loaded.error;
    return loaded.error.empty() ? &loaded.functions : nullptr;
}

}  // namespace attbat
