#pragma once
// Internal: the mesh files of the 3D scenes, written from a triangle list.
#include <cstdint>
#include <string>
#include <vector>

namespace MIREL25D {

class Point2;
class StagedFile;
class Triangle2;

// The triangles as corner indices into their distinct vertices, which are
// numbered in order of first appearance (triangles, then corners 0, 1, 2).
struct IndexedMesh
{
	explicit IndexedMesh(const std::vector<Triangle2*>& vTriangles);
	std::vector<const Point2*> vVertices;
	std::vector<uint32_t> vCorners;
};

// Wavefront OBJ: "v x y z" per vertex with 20 significant digits, then
// "f i j k" per triangle with 1-based, counterclockwise corners.
void writeObjMesh(const IndexedMesh& mesh, StagedFile& file);
// The mesh for the browser page as a script that defines MIREL_SCENE:
// float32 coordinates relative to the centre of the bounding box (survey
// coordinates would lose their centimetres in float32), 32-bit corner
// indices, both base64-encoded, and the centre and height range in doubles.
void writeMeshScript(const IndexedMesh& mesh, StagedFile& file);
// Writes the OBJ file; false after the message "File [<filename>] can't be
// opened" under place. Nothing of a failed file remains.
bool writeObjFile(const std::vector<Triangle2*>& vTriangles, const std::string& filename, const char* place);
// The browser scene in directory path, all files or none.
bool writeWebSceneDirectory(const std::vector<Triangle2*>& vTriangles, const std::string& path, const char* place);

// Stored texts, for the scene and for fileReplicate.
struct StoredText
{
	const char* fileName;
	const char* const* aChunks;
	size_t numChunks;
};
// Generated at build time from the installed three.js scripts.
extern const StoredText aThreeJsTexts[];
extern const size_t numThreeJsTexts;
// The page of the browser scene and the licence of three.js beside it.
extern const StoredText webScenePage;
extern const StoredText threeJsLicense;
// The stored text of that name, or null.
const StoredText* findStoredText(const std::string& fileName);
void writeStoredText(const StoredText& text, StagedFile& file);

} // namespace MIREL25D
