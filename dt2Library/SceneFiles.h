#pragma once
// Files around the 3D scenes: the scene directory and the stored texts of the
// browser scene (the page and the three.js viewer scripts).
#include "MirelExportMacro.h"

namespace MIREL25D {

// Creates the directory and any missing parents; true also when it exists
// already; false when it can't be made or a file of that name is in the way
// (a missing name also gives a message).
MIREL_API bool createDirectory(const char* path);
// Writes the stored text called name ("index.html", "three.min.js",
// "OrbitControls.js", "three.LICENSE.txt") to targetPath: into it under its own
// name when targetPath is a directory, else to that file. An unknown name
// gives the message "unknown file".
MIREL_API void fileReplicate(const char* name, const char* targetPath);

} // namespace MIREL25D
