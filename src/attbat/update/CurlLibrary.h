#pragma once
// libcurl, loaded on the first request instead of with the program: it brings some thirty
// libraries of its own (TLS, Kerberos, LDAP...), whose loading every command would otherwise pay
// for in start-up time and memory, while only the update check goes on the network.

#include <curl/curl.h>

#include <string>

namespace attbat {

// The functions of libcurl that HttpGet calls, found in the library once it is loaded.
struct CurlLibrary {
    CURLcode (*globalInit)(long flags) = nullptr;
    CURL* (*easyInit)() = nullptr;
    CURLcode (*easySetopt)(CURL* curl, CURLoption option, ...) = nullptr;
    CURLcode (*easyPerform)(CURL* curl) = nullptr;
    CURLcode (*easyGetinfo)(CURL* curl, CURLINFO info, ...) = nullptr;
    const char* (*easyStrerror)(CURLcode code) = nullptr;
    void (*easyCleanup)(CURL* curl) = nullptr;
};

// The library, loaded and initialised on the first call; null with `error` saying why when it
// can't be loaded (not installed, or a function missing). Loaded once per process.
const CurlLibrary* LoadCurl(std::string& error);

}  // namespace attbat
