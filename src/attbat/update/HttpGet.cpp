#include "attbat/update/HttpGet.h"

#include <curl/curl.h>

#include <memory>
#include <mutex>

#include "attbat/update/UpdateList.h"

namespace attbat {

namespace {

std::size_t Append(char* data, std::size_t size, std::size_t count, void* body) {
    static_cast<std::string*>(body)->append(data, size * count);
    return size * count;
}

struct CurlDeleter {
    void operator()(CURL* curl) const { curl_easy_cleanup(curl); }
};

}  // namespace

HttpAnswer HttpGet(const std::string& url, const HttpTimeouts& timeouts) {
    static std::once_flag initialised;
    std::call_once(initialised, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
    HttpAnswer answer;
    std::unique_ptr<CURL, CurlDeleter> curl(curl_easy_init());
    if (!curl) {
        answer.error = "the HTTP library could not start";
        return answer;
    }
    char error[CURL_ERROR_SIZE] = {};
    CURL* c = curl.get();
    curl_easy_setopt(c, CURLOPT_URL, url.c_str());
    curl_easy_setopt(c, CURLOPT_ERRORBUFFER, error);
    curl_easy_setopt(c, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(c, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(c, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(c, CURLOPT_MAXREDIRS, 5L);
    // Time-outs by signal would disturb the rest of the program.
    curl_easy_setopt(c, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(c, CURLOPT_CONNECTTIMEOUT_MS, timeouts.connectMilliseconds);
    curl_easy_setopt(c, CURLOPT_TIMEOUT_MS, timeouts.totalMilliseconds);
    std::string agent = "Velmar/" + std::string(localVersion);
    curl_easy_setopt(c, CURLOPT_USERAGENT, agent.c_str());
    curl_easy_setopt(c, CURLOPT_WRITEFUNCTION, Append);
    curl_easy_setopt(c, CURLOPT_WRITEDATA, &answer.body);
    CURLcode code = curl_easy_perform(c);
    if (code != CURLE_OK) {
        answer.error = error[0] ? error : curl_easy_strerror(code);
        return answer;
    }
    answer.answered = true;
    curl_easy_getinfo(c, CURLINFO_RESPONSE_CODE, &answer.status);
    return answer;
}

}  // namespace attbat
