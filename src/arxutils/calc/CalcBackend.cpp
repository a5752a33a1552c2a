#include "arxutils/calc/CalcBackend.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include <com/sun/star/bridge/UnoUrlResolver.hpp>
#include <com/sun/star/bridge/XUnoUrlResolver.hpp>
#include <com/sun/star/connection/ConnectionSetupException.hpp>
#include <com/sun/star/connection/NoConnectException.hpp>
#include <com/sun/star/container/XEnumeration.hpp>
#include <com/sun/star/container/XEnumerationAccess.hpp>
#include <com/sun/star/frame/Desktop.hpp>
#include <com/sun/star/frame/XModel.hpp>
#include <com/sun/star/lang/DisposedException.hpp>
#include <com/sun/star/lang/IllegalArgumentException.hpp>
#include <cppuhelper/bootstrap.hxx>

#include "arxutils/calc/CalcObjects.h"
#include "arxutils/excel/ExcelObjects.h"
#include "base/Format.h"
#include "base/Path.h"
#include "base/Text.h"

namespace arxutils::calc {

using css::uno::Reference;
using css::uno::UNO_QUERY;
using css::uno::UNO_QUERY_THROW;

namespace {

// This process's own UNO environment, made once: the bridge to soffice is built on it.
Reference<css::uno::XComponentContext> LocalContext() {
    static Reference<css::uno::XComponentContext> context = [] {
        // The office's fundamental settings name its type registries; without them the proxies
        // of the office's interfaces can't be made.
        const std::string program = VELMAR_LIBREOFFICE_PROGRAM;
        setenv("URE_BOOTSTRAP", ("vnd.sun.star.pathname:" + program + "/fundamentalrc").c_str(), 0);
        return cppu::defaultBootstrap_InitialComponentContext(FromUtf8("file://" + program + "/unorc"));
    }();
    return context;
}

}  // namespace

struct CalcBackend::State {
    CalcBackendOptions options;
    SessionPtr session;
    std::string failure;  // why the last connection failed
    pid_t started = 0;    // the soffice this backend started
    bool choiceApplied = false;  // --workbook and the rest were applied
    bool choiceFailed = false;   // ... and could not be
};

CalcBackend::CalcBackend() : state_(std::make_shared<State>()) {}
CalcBackend::~CalcBackend() = default;

std::unique_ptr<CalcBackend> CalcBackend::Create(const CalcBackendOptions& options) {
    // The bridge writes to the office's socket or pipe: a write after the office ended must fail
    // the call that made it, not end this process with SIGPIPE.
    signal(SIGPIPE, SIG_IGN);
    std::unique_ptr<CalcBackend> backend(new CalcBackend());
    backend->state_->options = options;
    if (backend->state_->options.connection.empty()) backend->state_->options.connection = kDefaultConnection;
    return backend;
}

const std::string& CalcBackend::Connection() const { return state_->options.connection; }

int CalcBackend::StartedOffice() const { return state_->started; }

namespace {

// A connection whose bridge ends while it is being set up, as one may right after another
// connection to the same office closed, is made again this many times.
constexpr int kConnectTries = 3;

// The session at `connection`, or null with `failure` saying why.
SessionPtr Connect(const std::string& connection, std::string& failure) {
    try {
        for (int tries = 1;; ++tries) {
            try {
                Reference<css::bridge::XUnoUrlResolver> resolver =
                    css::bridge::UnoUrlResolver::create(LocalContext());
                Reference<css::uno::XInterface> remote =
                    resolver->resolve(FromUtf8("uno:" + connection + ";urp;StarOffice.ComponentContext"));
                auto session = std::make_shared<Session>();
                session->context.set(remote, UNO_QUERY_THROW);
                session->desktop = css::frame::Desktop::create(session->context);
                session->headless = ShowsNoWindow(session->desktop);
                failure.clear();
                return session;
            } catch (const css::lang::DisposedException&) {
                if (tries == kConnectTries) throw;
                std::this_thread::sleep_for(std::chrono::milliseconds(100));
            }
        }
    } catch (const css::connection::NoConnectException&) {
        failure = base::Sprintf("No LibreOffice accepts connections at \"%s\".", connection);
    } catch (const css::connection::ConnectionSetupException& e) {
        failure = base::Sprintf("\"%s\" is not a connection LibreOffice understands (%s).", connection, ToUtf8(e.Message));
    } catch (const css::lang::IllegalArgumentException& e) {
        failure = base::Sprintf("\"%s\" is not a connection LibreOffice understands (%s).", connection, ToUtf8(e.Message));
    } catch (const css::uno::Exception& e) {
        failure = base::Sprintf("LibreOffice at \"%s\" could not be reached: %s", connection, ToUtf8(e.Message));
    }
    return nullptr;
}

// True while the office answers: a closed soffice leaves a bridge that fails every call.
bool Alive(const SessionPtr& session) {
    try {
        session->desktop->getComponents();
        return true;
    } catch (const css::uno::Exception&) {
        return false;
    }
}

}  // namespace

namespace {

// Starts soffice headless, accepting `connection`, in a session of its own: it keeps running
// after this program ends, with the documents the command left in it. -1 when it can't start.
pid_t StartOffice(const CalcBackendOptions& options) {
    std::string office = options.office.empty() ? std::string(VELMAR_LIBREOFFICE_PROGRAM) + "/soffice" : options.office;
    std::vector<std::string> words = {office, "--headless", "--invisible", "--nologo", "--norestore",
                                      "--nodefault", "--accept=" + options.connection + ";urp;"};
    if (!options.profileUrl.empty()) words.push_back("-env:UserInstallation=" + options.profileUrl);
    std::vector<char*> argv;
    for (std::string& w : words) argv.push_back(w.data());
    argv.push_back(nullptr);
    pid_t child = fork();
    if (child != 0) return child;
    setsid();
    int devNull = open("/dev/null", O_RDWR);
    if (devNull >= 0) {
        dup2(devNull, 0);
        dup2(devNull, 1);
        dup2(devNull, 2);
    }
    execv(argv[0], argv.data());
    _exit(127);
}

}  // namespace

namespace {

// Makes the document, sheet, selection and active cell the options name the active ones.
void ApplyChoice(const CalcBackendOptions& options, excel::Application& application) {
    if (options.workbook.empty()) return;
    const std::string path = base::FullPath(options.workbook);
    auto books = application.GetWorkbooks();
    std::unique_ptr<excel::Workbook> book;
    for (int i = 1; i <= books->Count() && !book; ++i) {
        auto candidate = books->Item(i);
        if (candidate->FullName() == path) book = std::move(candidate);
    }
    if (book) book->Activate();
    else book = books->Open(path, excel::kUpdateLinksDefault, 0);
    std::unique_ptr<excel::Worksheet> sheet = book->ActiveSheet();
    if (!options.sheet.empty()) {
        try {
            sheet = book->GetWorksheets()->Item(options.sheet);
        } catch (const excel::AutomationError&) {
            sheet = nullptr;
        }
        if (!sheet)
            throw excel::AutomationError(excel::kErrBadIndex, base::Sprintf("The workbook \"%s\" has no sheet \"%s\".",
                                                                            path, options.sheet));
        sheet->Activate();
    }
    if (!options.selection.empty()) sheet->GetRange(options.selection)->Select();
    else if (!options.activeCell.empty()) sheet->GetRange(options.activeCell)->Select();
}

}  // namespace

std::int32_t CalcBackend::GetActiveObject(std::unique_ptr<excel::Application>& application) {
    State& s = *state_;
    if (s.choiceFailed) return excel::kErrUnavailable;
    if (s.session && !Alive(s.session)) s.session.reset();
    if (!s.session) s.session = Connect(s.options.connection, s.failure);
    if (!s.session) return excel::kErrUnavailable;
    application = MakeApplication(s.session);
    if (!s.choiceApplied) {
        s.choiceApplied = true;
        try {
            ApplyChoice(s.options, *application);
        } catch (const excel::AutomationError& error) {
            s.choiceFailed = true;
            s.failure = error.Description();
            application.reset();
            return excel::kErrUnavailable;
        }
    }
    return 0;
}

std::unique_ptr<excel::Application> CalcBackend::CreateApplication() {
    std::unique_ptr<excel::Application> application;
    if (GetActiveObject(application) == 0) return application;
    State& s = *state_;
    if (s.choiceFailed) throw excel::AutomationError(excel::kErrUnavailable, s.failure);
    if (!s.options.start) throw excel::AutomationError(excel::kErrUnavailable, s.failure + " " + ConnectionAdvice());
    s.started = StartOffice(s.options);
    if (s.started < 0) {
        s.started = 0;
        throw excel::AutomationError(excel::kErrUnavailable, "LibreOffice could not be started: fork failed.");
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(s.options.startTimeoutSeconds);
    while (std::chrono::steady_clock::now() < deadline) {
        if (GetActiveObject(application) == 0) return application;
        int status = 0;
        // soffice hands its arguments to an instance that already runs on the same profile and
        // ends; only a failure of its own means it won't come.
        if (s.started && waitpid(s.started, &status, WNOHANG) == s.started) {
            if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
                s.started = 0;
                throw excel::AutomationError(
                    excel::kErrUnavailable,
                    WIFEXITED(status) && WEXITSTATUS(status) == 127
                        ? "LibreOffice could not be started: \"" + (s.options.office.empty() ? std::string(VELMAR_LIBREOFFICE_PROGRAM) + "/soffice" : s.options.office) + "\" did not run."
                        : "LibreOffice ended as it started; it did not accept \"" + s.options.connection + "\".");
            }
            s.started = 0;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
    throw excel::AutomationError(excel::kErrUnavailable,
                                 base::Sprintf("LibreOffice was started but did not accept \"%s\" within %d seconds.",
                                               s.options.connection, s.options.startTimeoutSeconds));
}

bool CalcBackend::RunningObjects(std::vector<std::string>& displayNames) {
    std::unique_ptr<excel::Application> application;
    if (GetActiveObject(application) != 0) return false;
    try {
        displayNames.emplace_back(excel::kInstanceMoniker);
        for (const auto& document : SpreadsheetDocuments(state_->session)) {
            Reference<css::frame::XModel> model(document, UNO_QUERY);
            // A document never saved has no name to list, as a workbook without a moniker.
            if (model.is() && !model->getURL().isEmpty()) displayNames.push_back(FullNameOf(document));
        }
    } catch (const css::uno::Exception&) {
        return false;
    }
    return true;
}

std::unique_ptr<excel::Workbook> CalcBackend::GetRunningWorkbook(std::string_view displayName) {
    std::unique_ptr<excel::Application> application;
    if (GetActiveObject(application) != 0) return nullptr;
    try {
        for (const auto& document : SpreadsheetDocuments(state_->session)) {
            if (FullNameOf(document) == displayName) {
                state_->session->active = document;
                return MakeWorkbook(state_->session, document);
            }
        }
    } catch (const css::uno::Exception&) {
    }
    return nullptr;
}

void CalcBackend::StoreActiveCopy(const std::string& path) {
    std::unique_ptr<excel::Application> application = CreateApplication();
    calc::StoreActiveCopy(state_->session, path);
}

bool CalcBackend::AlsoListed(const std::string& displayName) {
    return displayName.size() > 4 && base::EqualNoCase(displayName.substr(displayName.size() - 4), ".ods");
}

std::intptr_t CalcBackend::FindMainWindow(std::string_view) { return 0; }

void CalcBackend::SendToMainWindow(std::intptr_t, unsigned) {}

std::vector<std::shared_ptr<excel::Dispatch>> CalcBackend::WorkbookWindows(std::intptr_t) { return {}; }

bool CalcBackend::SetForegroundWindow(std::intptr_t) { return false; }

std::string CalcBackend::NoInstanceText(std::int32_t) {
    if (!state_->failure.empty()) return state_->failure;
    return base::Sprintf("No LibreOffice accepts connections at \"%s\".", state_->options.connection);
}

std::string CalcBackend::ConnectionAdvice() {
    return base::Sprintf("Start LibreOffice with soffice --accept=\"%s;urp;\", or give --calc-start to have "
                         "velmar start it, or --spreadsheet file to work on workbook files.",
                         state_->options.connection);
}

}  // namespace arxutils::calc
