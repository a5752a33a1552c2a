#pragma once
// A small HTTP server on 127.0.0.1 for the update check's tests: it serves the files it was
// given (404 for any other path), each answer after an optional delay, on a thread of its own
// until destroyed.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

class LoopbackServer {
public:
    explicit LoopbackServer(std::map<std::string, std::string> files,
                            std::chrono::milliseconds delay = std::chrono::milliseconds(0))
        : files_(std::move(files)), delay_(delay) {
        listener_ = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address = LoopbackAddress(0);
        if (bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 || listen(listener_, 8) != 0)
            return;
        port_ = BoundPort(listener_);
        thread_ = std::thread([this] { Serve(); });
    }
    ~LoopbackServer() {
        stop_ = true;
        if (thread_.joinable()) thread_.join();
        close(listener_);
    }
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    // 0 when the server could not start.
    int Port() const { return port_; }
    std::string Host() const { return "127.0.0.1:" + std::to_string(port_); }
    // The request lines it was sent, such as "GET /updatelist/checkforupdate.txt HTTP/1.1".
    std::vector<std::string> Requests() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return requests_;
    }

    // A port of the loopback address on which nothing listens: bound, then let go.
    static int ClosedPort() {
        int fd = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address = LoopbackAddress(0);
        bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
        int port = BoundPort(fd);
        close(fd);
        return port;
    }

private:
    static sockaddr_in LoopbackAddress(int port) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        return address;
    }
    static int BoundPort(int fd) {
        sockaddr_in address{};
        socklen_t length = sizeof address;
        getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
        return ntohs(address.sin_port);
    }
    bool Wait(int fd) const {
        pollfd poller{fd, POLLIN, 0};
        while (!stop_) {
            if (poll(&poller, 1, 20) > 0) return true;
        }
        return false;
    }
    void Serve() {
        while (Wait(listener_)) {
            int client = accept(listener_, nullptr, nullptr);
            if (client < 0) continue;
            Answer(client);
            close(client);
        }
    }
    void Answer(int client) {
        std::string request;
        char buffer[1024];
        while (request.find("\r\n\r\n") == std::string::npos && Wait(client)) {
            ssize_t n = recv(client, buffer, sizeof buffer, 0);
            if (n <= 0) return;
            request.append(buffer, static_cast<std::size_t>(n));
        }
        std::string line = request.substr(0, request.find("\r\n"));
        {
            std::lock_guard<std::mutex> lock(mutex_);
            requests_.push_back(line);
        }
        auto until = std::chrono::steady_clock::now() + delay_;
        while (!stop_ && std::chrono::steady_clock::now() < until)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        if (stop_) return;
        std::size_t start = line.find(' ') + 1;
        std::string path = line.substr(start, line.find(' ', start) - start);
        auto file = files_.find(path);
        std::string body = file == files_.end() ? "Not Found" : file->second;
        std::string answer = std::string(file == files_.end() ? "HTTP/1.1 404 Not Found" : "HTTP/1.1 200 OK") +
                             "\r\nContent-Type: text/plain\r\nContent-Length: " + std::to_string(body.size()) +
                             "\r\nConnection: close\r\n\r\n" + body;
        send(client, answer.data(), answer.size(), MSG_NOSIGNAL);
    }

    std::map<std::string, std::string> files_;
    std::chrono::milliseconds delay_;
    int listener_ = -1;
    int port_ = 0;
    std::atomic<bool> stop_{false};
    std::thread thread_;
    mutable std::mutex mutex_;
    std::vector<std::string> requests_;
};
