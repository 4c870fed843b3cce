#pragma once
// The tool's two result files: a PostScript map of the terrain and an OBJ mesh.
#include <string>

namespace MIREL25D {
class Mirel_2D;
struct MirelExport;
} // namespace MIREL25D

namespace mireltool {

// Triangles filled by height band (green lowlands to white peaks), with the
// triangle edges drawn over them when the mesh is small enough for them to
// stay visible. Returns false if the file could not be written completely.
bool writeTerrainDrawing(MIREL25D::Mirel_2D& dt, const std::string& path, const std::string& title);

// Wavefront OBJ with the shortest decimal text that reads back to the same
// double, so that no coordinate is rounded. Returns false on a write failure.
bool writeObjExact(const MIREL25D::MirelExport& mesh, const std::string& path);

} // namespace mireltool
