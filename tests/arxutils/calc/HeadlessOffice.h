#pragma once
// A headless soffice of the test program's own, on a free port and with a profile of its own,
// started when first asked for and ended with the program.

#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "arxutils/calc/CalcBackend.h"
#include "arxutils/excel/ExcelObjects.h"

namespace velmar_test {

// Options that reach the office at `connection` and leave everything else as it is.
inline arxutils::calc::CalcBackendOptions ConnectTo(std::string connection) {
    arxutils::calc::CalcBackendOptions options;
    options.connection = std::move(connection);
    return options;
}

class HeadlessOffice {
public:
    static std::string Program() { return std::string(VELMAR_LIBREOFFICE_PROGRAM) + "/soffice"; }
    static bool Installed() { return std::filesystem::exists(Program()); }

    // The connection of the running office, started on first use; "" when it would not start.
    static const std::string& Connection() { return Instance().connection_; }

    static std::string SocketConnection(int port) { return "socket,host=127.0.0.1,port=" + std::to_string(port); }

    // Makes a soffice profile in `folder` by a run that ends at once: a first run on a new
    // profile restarts soffice, which would drop every connection. False when soffice failed.
    static bool MakeProfile(const std::string& folder) {
        const std::string command = "'" + Program() + "' --headless --terminate_after_init "
                                    "'-env:UserInstallation=file://" + folder + "' >/dev/null 2>&1";
        return std::system(command.c_str()) == 0;
    }

    // Ends a soffice started as the leader of its process group, with all it started.
    static void End(pid_t& pid) {
        if (pid <= 0) return;
        kill(-pid, SIGKILL);
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
        pid = 0;
    }

    // The profile folder of the running office; "" before it started or when it would not.
    static const std::string& Profile() {
        Connection();
        return Instance().profile_;
    }

    // A port nobody listens on at the moment of asking.
    static int FreePort() {
        int s = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        bind(s, reinterpret_cast<sockaddr*>(&address), sizeof address);
        socklen_t length = sizeof address;
        getsockname(s, reinterpret_cast<sockaddr*>(&address), &length);
        close(s);
        return ntohs(address.sin_port);
    }

    HeadlessOffice(const HeadlessOffice&) = delete;
    HeadlessOffice& operator=(const HeadlessOffice&) = delete;
    ~HeadlessOffice() {
        End(pid_);
        if (!profile_.empty()) std::filesystem::remove_all(profile_);
    }

private:
    static HeadlessOffice& Instance() {
        static HeadlessOffice office;
        return office;
    }

    HeadlessOffice() {
        namespace fs = std::filesystem;
        if (!Installed()) return;
        profile_ = (fs::temp_directory_path() / ("velmar-office-" + std::to_string(getpid()))).string();
        fs::remove_all(profile_);
        const std::string connection = SocketConnection(FreePort());
        const std::string user = "-env:UserInstallation=file://" + profile_;
        if (!MakeProfile(profile_)) return;
        pid_ = fork();
        if (pid_ == 0) {
            setpgid(0, 0);
            // A test program that crashes takes its soffice with it.
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            int devNull = open("/dev/null", O_RDWR);
            dup2(devNull, 1);
            dup2(devNull, 2);
            const std::string program = Program();
            const std::string accept = "--accept=" + connection + ";urp;";
            execl(program.c_str(), program.c_str(), "--headless", "--invisible", "--nologo", "--norestore",
                  "--nodefault", accept.c_str(), user.c_str(), static_cast<char*>(nullptr));
            _exit(127);
        }
        setpgid(pid_, pid_);
        auto backend = arxutils::calc::CalcBackend::Create(ConnectTo(connection));
        for (int i = 0; i < 300; ++i) {
            std::unique_ptr<arxutils::excel::Application> application;
            if (backend->GetActiveObject(application) == 0) {
                connection_ = connection;
                return;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
        }
    }

    pid_t pid_ = 0;
    std::string profile_;
    std::string connection_;
};

}  // namespace velmar_test
