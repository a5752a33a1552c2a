#include "attbat/frame/AsdkDataBaseReactor.h"

#include "attbat/frame/AsdkDataManager.h"
#include "cad/Database.h"
#include "host/Document.h"

namespace attbat {

AsdkDataBaseReactor::~AsdkDataBaseReactor() { Detach(); }

void AsdkDataBaseReactor::Attach(cad::Database* db) {
    Detach();
    database = db;
    if (database) database->AddReactor(this);
}

void AsdkDataBaseReactor::Detach() {
    if (database) database->RemoveReactor(this);
    database = nullptr;
}

void AsdkDataBaseReactor::ObjectModified(cad::Database& db, const cad::Object& object) {
    host::Document* current = host::DocumentManager::Instance().CurDocument();
    // A side database's changes are no edit of the user's drawing.
    if (!current || !current->Holds(db)) return;
    CDocData& data = DataManager().docData(current);
    const Told told{&db, object.Index(), &data, data.Generation()};
    if (told == last_) return;
    std::string handle;
    if (object.IsA("INSERT")) {
        handle = object.HandleString();
    } else if (object.IsA("ATTRIB")) {
        const cad::Object owner = object.Container();
        if (!owner) return;
        handle = owner.HandleString();
    }
    if (!handle.empty()) data.AddModifiedHandle(handle);
    last_ = told;
}

}  // namespace attbat
