#pragma once
#include "MirelExportMacro.h"

namespace MIREL25D {

// "Mirel2D 1.85.538 RELEASE", built once when the library is loaded.
MIREL_API const char* getMirel2DVersion();
MIREL_API int getMajorVersionNumber();
MIREL_API int getMinorVersionNumber();
MIREL_API int getRevisionNumber();
MIREL_API bool isRelease();

} // namespace MIREL25D
