#pragma once
// Who wants to hear of changes to a drawing: the host's database reactors. A reactor is told
// after each change of an object's values and when the object is erased; it may read the object
// but must not change the drawing from inside the notification.

namespace cad {

class Database;
class Object;

class DatabaseReactor {
public:
    virtual ~DatabaseReactor() = default;
    // `object` of `db` changed: a value set, added or removed, or the object erased. One edit
    // of several values may tell it several times.
    virtual void ObjectModified(Database& db, const Object& object) = 0;
};

}  // namespace cad
