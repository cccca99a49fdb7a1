// SQLite's files by names that are not from "/" on.
//
// SQLite puts the working folder's name, which it asks for, before such a name, and opens the file by both. Whoever owns a
// folder above can put another one in its place at that instant, and lead what is written there elsewhere. Below the
// working folder itself nobody can do that.
#pragma once

#include <string>

namespace dravik {

// What sqlite3_open_v2 takes as its last argument for the file: for a name that is not from "/" on, a layer that opens it,
// its journal and the like below the working folder, which must stay the same while the database is open; null, for
// SQLite's usual layer, for any other name, for "" and for ":memory:".
const char *fileLayerFor(const std::string &path);

} // namespace dravik
