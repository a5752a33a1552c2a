#pragma once
// The working database (acdbHostApplicationServices()->workingDatabase()): the drawing that
// operations without an explicit database act on, and the scoped switch that puts it back.
namespace cad {
class Database;
}

namespace host {

// The working database; the current document's when nobody switched it, null without one.
cad::Database* WorkingDatabase();
// Makes `db` the working database; null goes back to the current document's.
void SetWorkingDatabase(cad::Database* db);

// Sets the working database for a scope and puts the old one back on every road out; does
// nothing when the two are the same.
class ScopedWorkingDatabase {
public:
    explicit ScopedWorkingDatabase(cad::Database* db);
    ~ScopedWorkingDatabase();
    ScopedWorkingDatabase(const ScopedWorkingDatabase&) = delete;
    ScopedWorkingDatabase& operator=(const ScopedWorkingDatabase&) = delete;
    // True when the scope changed the working database.
    bool Switched() const { return switched_; }
private:
    cad::Database* saved_;
    bool switched_;
};

}  // namespace host
