#pragma once
#include "MirelExportMacro.h"
#include <cstdint>
#include <utility>
#include <vector>

namespace MIREL25D {

// A plain, array-based copy of a triangulation for handing the mesh to other
// software (filled by Mirel_2D::exportTriangulation). Vertex i has the
// coordinates aCoords[dim*i .. dim*i+dim-1] and, when exported, the custom
// index aCustomIndices[i]; triangle t has the counterclockwise corners
// aTriangles[3*t .. 3*t+2], 0-based vertex indices.
//
// The record owns its three arrays and frees them when it is destroyed.
// operator= copies the fields as they are, the arrays are shared and not
// duplicated: afterwards only one of the two records may keep them (set the
// other's pointers to null before it is destroyed).
struct MIREL_API MirelExport
{
	MirelExport();
	~MirelExport();
	MirelExport(const MirelExport&) = delete;
	MirelExport& operator=(const MirelExport& other);

	void getCoordinates(int vtxIdx, double& x, double& y, double& z) const;
	void getCornerIndices(int triIdx, int& vtxIdx0, int& vtxIdx1, int& vtxIdx2) const;
	// Appends (t0, t1) once for every edge shared by the triangles t0 and t1.
	void extractTriangleNeighborships(std::vector<std::pair<int, int>>& vNeigs) const;
	// Vertices, triangles and neighbour pairs on standard output.
	void print() const;
	// Wavefront OBJ: "v x y z" lines, then "f" lines with 1-based indices.
	bool writeObj(const char* filename) const;

	int32_t numCustomIndices;
	int32_t numTriangles;
	int32_t numPoints;
	double* aCoords;
	int32_t* aCustomIndices;
	int32_t* aTriangles;
	int32_t dim;
};

} // namespace MIREL25D
