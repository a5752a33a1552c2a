#pragma once
// The per-document records of the module, made when first asked for or when a document first
// becomes current, and erased with their document. One static object, attached to the document
// manager for the life of the program.
#include <map>
#include <memory>

#include "attbat/frame/AsdkDataBaseReactor.h"
#include "attbat/frame/CDocData.h"
#include "host/Document.h"

namespace attbat {

template <class T>
class AsdkDataManager : public host::DocManagerReactor {
public:
    AsdkDataManager() { host::DocumentManager::Instance().AddReactor(this); }
    ~AsdkDataManager() override { host::DocumentManager::Instance().RemoveReactor(this); }
    AsdkDataManager(const AsdkDataManager&) = delete;
    AsdkDataManager& operator=(const AsdkDataManager&) = delete;

    // The record of the current document, made when missing; the current document must exist.
    T& docData() { return docData(host::DocumentManager::Instance().CurDocument()); }
    // The record of `document`, made when missing.
    T& docData(host::Document* document) { return records_[document]; }
    // True when `document` has a record.
    bool HasData(host::Document* document) const { return records_.count(document) != 0; }

    // The record's database reactor leaves the drawing and goes, and so does the record.
    void DocumentToBeDestroyed(host::Document* document) override {
        auto it = records_.find(document);
        if (it == records_.end()) return;
        if (it->second.dbReactor) {
            document->RemoveDatabaseReactor(it->second.dbReactor.get());
            it->second.dbReactor->Detach();
        }
        records_.erase(it);
    }
    // A document becoming current for the first time gets its database reactor.
    void DocumentBecameCurrent(host::Document* document) override {
        if (!document) return;
        T& data = docData(document);
        if (data.dbReactor) return;
        // Unattached, and added to the document's drawing whenever that is read.
        data.dbReactor = std::make_unique<AsdkDataBaseReactor>();
        document->AddDatabaseReactor(data.dbReactor.get());
    }

private:
    std::map<host::Document*, T> records_;
};

// The module's one data manager.
AsdkDataManager<CDocData>& DataManager();

}  // namespace attbat
