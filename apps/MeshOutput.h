#pragma once
// The tool's two result files: a PostScript map of the terrain and an OBJ mesh.
#include <string>
#include <vector>

namespace MIREL25D {
class Mirel_2D;
struct MirelExport;
class Triangle2;
} // namespace MIREL25D

namespace mireltool {

// The triangles vT of dt filled by height band (green lowlands to white
// peaks), with the edges of dt drawn over them when the mesh is small enough
// for them to stay visible. Returns false if the file could not be written
// completely.
bool writeTerrainDrawing(MIREL25D::Mirel_2D& dt, const std::vector<MIREL25D::Triangle2*>& vT, const std::string& path, const std::string& title);

// Wavefront OBJ with the shortest decimal text that reads back to the same
// double, so that no coordinate is rounded. Returns false on a write failure.
bool writeObjExact(const MIREL25D::MirelExport& mesh, const std::string& path);
// The same for a set of triangles (a zone's, say), counterclockwise faces,
// moved by (dx, dy).
bool writeObjExact(const std::vector<MIREL25D::Triangle2*>& vT, const std::string& path, double dx = 0.0, double dy = 0.0);

} // namespace mireltool
