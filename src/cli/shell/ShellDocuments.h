#pragma once
// The drawings open in a shell session, as the host's window list has them: opened, listed by
// number, made current, saved and closed by the user's word. A changed drawing is never closed
// without asking first.

#include <string>
#include <vector>

namespace attbat {
class ModuleRun;
}

namespace host {
class Document;
}

namespace cli {

class ShellDocuments {
public:
    // Works in `run` (not owned), whose documents these are.
    explicit ShellDocuments(attbat::ModuleRun& run) : run_(run) {}

    // open FILE...: each opened (or found open) and the last made current, the drawing load
    // sent as the host does. False when one couldn't be opened, which is said.
    bool Open(const std::vector<std::string>& files);
    // close [N|FILE]: the current drawing by default; a changed one is asked about first.
    bool Close(const std::vector<std::string>& words);
    // documents: one line per open drawing, by number, the current one marked "*" and changed ones "(changed)".
    void List();
    // switch N|FILE: another open drawing becomes current.
    bool Switch(const std::vector<std::string>& words);
    // save [N|FILE|all]: the current drawing by default, in place with its backup.
    bool Save(const std::vector<std::string>& words);
    // Each changed drawing asked about ("Save changes to FILE?"), saved on Yes; at the session's end.
    bool AskToSaveAll();
    // Takes a drawing opened outside these words (the session's first, --drawing on a command).
    void Adopt(host::Document* document);

private:
    // The open drawing that `word` names: its number in the list, or its path or file name
    // (without regard to case); null, and said, when none.
    host::Document* Find(const std::string& word);
    // The list without the drawings closed meanwhile, in the order they were opened.
    std::vector<host::Document*> OpenNow();
    bool SaveOne(host::Document* document);

    attbat::ModuleRun& run_;
    std::vector<host::Document*> order_;
};

// True when the drawing was changed since it was read or saved.
bool IsChanged(const host::Document& document);

}  // namespace cli
