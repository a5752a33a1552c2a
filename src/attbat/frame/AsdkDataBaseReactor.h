#pragma once
// The database reactor of a document: it collects the handles of the block references changed in
// the current document's drawing, for the upload after the command that changed them.
#include "cad/DatabaseReactor.h"

namespace attbat {

class AsdkDataBaseReactor : public cad::DatabaseReactor {
public:
    // Not attached by its constructor.
    AsdkDataBaseReactor() = default;
    ~AsdkDataBaseReactor() override;

    virtual void Attach(cad::Database* db);
    virtual void Detach();
    virtual cad::Database* Subject() const { return database; }
    virtual bool IsAttached() const { return database != nullptr; }

    // A reference (exactly an INSERT) or an attribute's reference of the current document's
    // drawing goes into the current document's list of changed handles; anything else is
    // ignored.
    void ObjectModified(cad::Database& db, const cad::Object& object) override;

    // The attached database; null when none.
    cad::Database* database = nullptr;
};

}  // namespace attbat
