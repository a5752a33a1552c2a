#pragma once
// One HTTP GET with time-outs, the Internet session of the update check. The only user of
// libcurl in the program: nothing else of ours goes on the network.

#include <string>

namespace attbat {

struct HttpTimeouts {
    long connectMilliseconds = 10000;  // to reach the server
    long totalMilliseconds = 30000;    // for the whole request, answer included
};

struct HttpAnswer {
    // False when no answer came: no connection, a time-out, a broken transfer.
    bool answered = false;
    long status = 0;    // the HTTP status of the answer; 0 without one
    std::string body;   // the answer's body, whatever its status
    std::string error;  // why there was no answer, such as "Connection refused"; "" with one
};

// GETs `url` (http or https; redirects followed). Never throws.
HttpAnswer HttpGet(const std::string& url, const HttpTimeouts& timeouts);

}  // namespace attbat
