#include "host/WorkingDatabase.h"

#include "host/Document.h"

namespace host {
namespace {
// Null means "follow the current document", so a document opened later is seen at once.
cad::Database* explicitWorking = nullptr;
}  // namespace

cad::Database* WorkingDatabase() {
    if (explicitWorking) return explicitWorking;
    Document* doc = DocumentManager::Instance().CurDocument();
    return doc ? &doc->Database() : nullptr;
}

void SetWorkingDatabase(cad::Database* db) {
    Document* doc = DocumentManager::Instance().CurDocument();
    explicitWorking = (doc && db == &doc->Database()) ? nullptr : db;
}

ScopedWorkingDatabase::ScopedWorkingDatabase(cad::Database* db)
    : saved_(WorkingDatabase()), switched_(db != saved_) {
    if (switched_) SetWorkingDatabase(db);
}

ScopedWorkingDatabase::~ScopedWorkingDatabase() {
    if (switched_) SetWorkingDatabase(saved_);
}

}  // namespace host
