#include "attbat/update/HttpGet.h"

#include <memory>

#include "attbat/update/CurlLibrary.h"
#include "attbat/update/UpdateList.h"

namespace attbat {

namespace {

std::size_t Append(char* data, std::size_t size, std::size_t count, void* body) {
    static_cast<std::string*>(body)->append(data, size * count);
    return size * count;
}

struct CurlDeleter {
    const CurlLibrary* library;
    void operator()(CURL* curl) const { library->easyCleanup(curl); }
};

}  // namespace

HttpAnswer HttpGet(const std::string& url, const HttpTimeouts& timeouts) {
    HttpAnswer answer;
    const CurlLibrary* lib = LoadCurl(answer.error);
    if (!lib) return answer;
    std::unique_ptr<CURL, CurlDeleter> curl(lib->easyInit(), CurlDeleter{lib});
    if (!curl) {
        answer.error = "the HTTP library could not start";
        return answer;
    }
    char error[CURL_ERROR_SIZE] = {};
    CURL* c = curl.get();
    lib->easySetopt(c, CURLOPT_URL, url.c_str());
    lib->easySetopt(c, CURLOPT_ERRORBUFFER, error);
    lib->easySetopt(c, CURLOPT_PROTOCOLS_STR, "http,https");
    lib->easySetopt(c, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    lib->easySetopt(c, CURLOPT_FOLLOWLOCATION, 1L);
    lib->easySetopt(c, CURLOPT_MAXREDIRS, 5L);
    // Time-outs by signal would disturb the rest of the program.
    lib->easySetopt(c, CURLOPT_NOSIGNAL, 1L);
    lib->easySetopt(c, CURLOPT_CONNECTTIMEOUT_MS, timeouts.connectMilliseconds);
    lib->easySetopt(c, CURLOPT_TIMEOUT_MS, timeouts.totalMilliseconds);
    std::string agent = "Velmar/" + std::string(localVersion);
    lib->easySetopt(c, CURLOPT_USERAGENT, agent.c_str());
    lib->easySetopt(c, CURLOPT_WRITEFUNCTION, Append);
    lib->easySetopt(c, CURLOPT_WRITEDATA, &answer.body);
    CURLcode code = lib->easyPerform(c);
    if (code != CURLE_OK) {
        answer.error = error[0] ? error : lib->easyStrerror(code);
        return answer;
    }
    answer.answered = true;
    lib->easyGetinfo(c, CURLINFO_RESPONSE_CODE, &answer.status);
    return answer;
}

}  // namespace attbat
