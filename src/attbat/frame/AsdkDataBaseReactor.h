#pragma once
// The database reactor of a document: it collects the handles of the block references changed in
// the current document's drawing, for the upload after the command that changed them.
#include <cstdint>

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

private:
    // The record told of last and where its handle went: a command changes one record many
    // times in a row (a new reference: its layer, position, attributes, extended data).
    struct Told {
        const cad::Database* db = nullptr;
        std::uint32_t record = 0;
        const void* list = nullptr;
        std::uint64_t generation = 0;
        bool operator==(const Told&) const = default;
    };
    Told last_;
};

}  // namespace attbat
