#include "cli/shell/ShellDocuments.h"

#include <algorithm>
#include <cstdlib>

#include "attbat/frame/CommandRun.h"
#include "base/Format.h"
#include "base/Path.h"
#include "base/Text.h"
#include "host/Document.h"
#include "host/Printer.h"
#include "host/Ui.h"

namespace cli {

bool IsChanged(const host::Document& document) {
    return !document.IsReleased() && const_cast<host::Document&>(document).Database().IsModified();
}

std::vector<host::Document*> ShellDocuments::OpenNow() {
    const std::vector<host::Document*> open = host::DocumentManager::Instance().Documents();
    std::erase_if(order_, [&](host::Document* doc) { return std::find(open.begin(), open.end(), doc) == open.end(); });
    for (host::Document* doc : open) Adopt(doc);
    return order_;
}

void ShellDocuments::Adopt(host::Document* document) {
    if (document && std::find(order_.begin(), order_.end(), document) == order_.end()) order_.push_back(document);
}

host::Document* ShellDocuments::Find(const std::string& word) {
    const std::vector<host::Document*> open = OpenNow();
    char* end = nullptr;
    const long number = std::strtol(word.c_str(), &end, 10);
    if (!word.empty() && *end == '\0') {
        if (number >= 1 && number <= static_cast<long>(open.size())) return open[static_cast<std::size_t>(number - 1)];
        host::CurrentPrinter().Warn(base::Sprintf("velmar shell: there is no drawing %s; 'documents' lists them.", word));
        return nullptr;
    }
    for (host::Document* doc : open) {
        if (base::EqualNoCase(doc->FileName(), word) || base::EqualNoCase(base::FileName(doc->FileName()), word)) return doc;
    }
    if (host::Document* doc = host::DocumentManager::Instance().Find(word)) return doc;
    host::CurrentPrinter().Warn(base::Sprintf("velmar shell: %s is not open; 'documents' lists the open drawings.", word));
    return nullptr;
}

bool ShellDocuments::Open(const std::vector<std::string>& files) {
    if (files.empty()) {
        host::CurrentPrinter().Warn("velmar shell: open takes the drawings to open: open FILE.dxf...");
        return false;
    }
    bool all = true;
    for (const std::string& file : files) {
        auto opened = host::DocumentManager::Instance().OpenCurrent(file);
        if (!opened) {
            host::CurrentPrinter().Warn(opened.GetStatus().Message());
            all = false;
            continue;
        }
        Adopt(*opened);
        host::Printf("\nOpened %s.", (*opened)->FileName());
        attbat::LoadDrawingInSession(run_);
    }
    return all;
}

bool ShellDocuments::Close(const std::vector<std::string>& words) {
    host::DocumentManager& documents = host::DocumentManager::Instance();
    host::Document* doc = words.empty() ? documents.CurDocument() : Find(words.front());
    if (!doc) {
        if (words.empty()) host::CurrentPrinter().Warn("velmar shell: no drawing is open.");
        return false;
    }
    if (IsChanged(*doc) && host::AskYesNo(base::Sprintf("Save changes to %s?", doc->FileName()), "Velmar")) {
        if (!SaveOne(doc)) return false;
    }
    const std::string name = doc->FileName();
    const bool wasCurrent = doc == documents.CurDocument();
    documents.Close(doc);
    host::Printf("\nClosed %s.", name);
    const std::vector<host::Document*> left = OpenNow();
    if (wasCurrent && !left.empty()) documents.SetCurrent(left.back());
    run_.UseCurrentDocument();
    return true;
}

void ShellDocuments::List() {
    const std::vector<host::Document*> open = OpenNow();
    if (open.empty()) {
        host::Printf("\nNo drawing is open.");
        return;
    }
    const host::Document* current = host::DocumentManager::Instance().CurDocument();
    for (std::size_t i = 0; i < open.size(); ++i) {
        host::Printf("\n%s %d %s%s", open[i] == current ? "*" : " ", static_cast<int>(i + 1), open[i]->FileName(),
                     IsChanged(*open[i]) ? " (changed)" : "");
    }
}

bool ShellDocuments::Switch(const std::vector<std::string>& words) {
    if (words.size() != 1) {
        host::CurrentPrinter().Warn("velmar shell: switch takes one drawing, by its number or name: switch 2.");
        return false;
    }
    host::Document* doc = Find(words.front());
    if (!doc) return false;
    host::DocumentManager::Instance().SetCurrent(doc);
    run_.UseCurrentDocument();
    host::Printf("\nCurrent drawing: %s.", doc->FileName());
    return true;
}

bool ShellDocuments::SaveOne(host::Document* document) {
    if (base::Status saved = document->Save(); !saved) {
        host::CurrentPrinter().Warn(saved.Message());
        return false;
    }
    host::Printf("\nSaved %s.", document->FileName());
    // What is open is now what the file holds: read back, the drawing counts as unchanged, and a
    // later save replaces the backup only after a further change.
    if (base::Status read = document->Reload(); !read) host::CurrentPrinter().Warn(read.Message());
    return true;
}

bool ShellDocuments::Save(const std::vector<std::string>& words) {
    if (!words.empty() && base::EqualNoCase(words.front(), "all")) {
        bool all = true;
        for (host::Document* doc : OpenNow()) all = SaveOne(doc) && all;
        return all;
    }
    host::Document* doc = words.empty() ? host::DocumentManager::Instance().CurDocument() : Find(words.front());
    if (!doc) {
        if (words.empty()) host::CurrentPrinter().Warn("velmar shell: no drawing is open.");
        return false;
    }
    return SaveOne(doc);
}

bool ShellDocuments::AskToSaveAll() {
    bool all = true;
    for (host::Document* doc : OpenNow()) {
        if (!IsChanged(*doc)) continue;
        if (host::AskYesNo(base::Sprintf("Save changes to %s?", doc->FileName()), "Velmar")) {
            all = SaveOne(doc) && all;
        } else {
            host::CurrentPrinter().Warn(base::Sprintf("velmar shell: the changes to %s were not saved.", doc->FileName()));
        }
    }
    return all;
}

}  // namespace cli
