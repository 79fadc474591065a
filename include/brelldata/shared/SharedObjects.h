#pragma once

#include <brelldata/Export.h>

class CDataManager;
class CNameList;
class CTree;

// Trees and name lists kept by name in a host's data manager. Each is held by
// a data object of the library's own that measures, writes and reads it as a
// flat block (a node stream for a tree, a name list block for a list). An
// object of the host's own under a name is never taken for one of these.
// Note the two argument orders: trees take the manager first, lists the name.

// The tree already kept under name, or a new empty tree registered there and
// owned by "DefaultTreeAutoClose", which deletes it when the manager lets go
// of it. Null when the manager is null or refuses the name (nothing is kept).
BRELL_API CTree* CreateTree(CDataManager* manager, const char* name);
// The tree kept under name; null for a null manager, a missing name or
// another kind of object.
BRELL_API CTree* GetTree(CDataManager* manager, const char* name);
// Takes the name out of the manager, whose owner report ends the tree; 1
// whatever was there. Meant for names that hold trees: an unowned object
// under the name (a name list included) leaves the manager undeleted.
BRELL_API int FreeTree(CDataManager* manager, const char* name);

// A new empty list registered under name (no look-up first, no owner); null
// when the manager is null or refuses the name (nothing is kept).
BRELL_API CNameList* CreateNameList(const char* name, CDataManager* manager);
// The list kept under name; null for a null manager, a missing name or
// another kind of object.
BRELL_API CNameList* GetNameList(const char* name, CDataManager* manager);
// Takes the list out of the manager and deletes it: 1, or 0 (nothing changed)
// when the name holds no list of ours.
BRELL_API int FreeNameList(const char* name, CDataManager* manager);
