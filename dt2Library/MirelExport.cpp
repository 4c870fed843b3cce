#include "MirelExport.h"
#include "tools.h"
#include <sstream>
#include <algorithm>
#include <fstream>
#include <iostream>
#include <locale>

namespace MIREL25D {

MirelExport::MirelExport()
	: numCustomIndices(0), numTriangles(0), numPoints(0), aCoords(nullptr), aCustomIndices(nullptr), aTriangles(nullptr), dim(3)
{}

MirelExport::~MirelExport()
{
	delete[] aCoords;
	delete[] aCustomIndices;
	delete[] aTriangles;
	numCustomIndices = 0;
	numTriangles = 0;
	numPoints = 0;
}

MirelExport& MirelExport::operator=(const MirelExport& other)
{
	numCustomIndices = other.numCustomIndices;
	numTriangles = other.numTriangles;
	numPoints = other.numPoints;
	aCoords = other.aCoords;
	aCustomIndices = other.aCustomIndices;
	aTriangles = other.aTriangles;
	dim = other.dim;
	return *this;
}

void MirelExport::getCoordinates(int vtxIdx, double& x, double& y, double& z) const
{
	const double* p(aCoords + size_t(dim) * size_t(vtxIdx));
	x = p[0];
	y = p[1];
	z = p[2];
}

void MirelExport::getCornerIndices(int triIdx, int& vtxIdx0, int& vtxIdx1, int& vtxIdx2) const
{
	const int32_t* p(aTriangles + 3 * size_t(triIdx));
	vtxIdx0 = p[0];
	vtxIdx1 = p[1];
	vtxIdx2 = p[2];
}

namespace {
// An edge of a triangle, its end points sorted: equal pairs are shared edges.
struct EdgeRecord
{
	int32_t a, b, triIdx;
	bool operator<(const EdgeRecord& other) const { return a < other.a || (a == other.a && b < other.b); }
	bool sameEdge(const EdgeRecord& other) const { return a == other.a && b == other.b; }
};
} // namespace

// Sorting the 3n edge records brings the two sides of every inner edge
// together; no adjacency has to be stored in the record.
void MirelExport::extractTriangleNeighborships(std::vector<std::pair<int, int>>& vNeigs) const
{
	size_t numT(numTriangles > 0 ? size_t(numTriangles) : 0);
	vNeigs.reserve(vNeigs.size() + 3 * numT / 2);
	std::vector<EdgeRecord> vEdges;
	vEdges.reserve(3 * numT);
	for(size_t t = 0; t < numT; ++t)
	{
		int32_t c[3] = {aTriangles[3 * t], aTriangles[3 * t + 1], aTriangles[3 * t + 2]};
		std::sort(c, c + 3);
		int32_t triIdx(static_cast<int32_t>(t));
		vEdges.push_back(EdgeRecord{c[0], c[1], triIdx});
		vEdges.push_back(EdgeRecord{c[1], c[2], triIdx});
		vEdges.push_back(EdgeRecord{c[0], c[2], triIdx});
	}
	std::sort(vEdges.begin(), vEdges.end());
	for(size_t i = 1; i < vEdges.size(); ++i)
	{
		if(vEdges[i].sameEdge(vEdges[i - 1])) vNeigs.push_back(std::make_pair(vEdges[i - 1].triIdx, vEdges[i].triIdx));
	}
}

void MirelExport::print() const
{
	std::ostringstream oss;
	for(int32_t i = 0; i < numPoints; ++i)
	{
		int32_t customIndex(numCustomIndices > 0 ? aCustomIndices[i] : -1);
		oss << "\nVertex " << i << " (customIndex=" << customIndex << "):";
		for(int32_t d = 0; d < dim; ++d) oss << " " << aCoords[size_t(dim) * size_t(i) + size_t(d)];
	}
	for(int32_t i = 0; i < numTriangles; ++i)
	{
		int v0, v1, v2;
		getCornerIndices(i, v0, v1, v2);
		oss << "\nTriangle " << i << ": " << v0 << " " << v1 << " " << v2;
	}
	std::vector<std::pair<int, int>> vNeigs;
	extractTriangleNeighborships(vNeigs);
	for(const std::pair<int, int>& neig : vNeigs) oss << "\nTriangle " << neig.first << " <-> Triangle " << neig.second;
	oss << "\n";
	sendRawText(oss.str());
}

bool MirelExport::writeObj(const char* filename) const
{
	std::ofstream out(filename);
	if(!out.is_open())
	{
		sendRawText("Can't write " + std::string(filename) + "\n");
		return false;
	}
	sendRawText("writing " + std::string(filename) + "\n");
	// A decimal point whatever the user's locale: OBJ readers expect one.
	out.imbue(std::locale::classic());
	out << "# Written by Mirel2D";
	for(int32_t i = 0; i < numPoints; ++i)
	{
		out << "\nv";
		for(int32_t d = 0; d < dim; ++d) out << " " << aCoords[size_t(dim) * size_t(i) + size_t(d)];
		if(dim == 2) out << " 0";
	}
	for(int32_t i = 0; i < numTriangles; ++i)
	{
		const int32_t* p(aTriangles + 3 * size_t(i));
		out << "\nf " << p[0] + 1 << " " << p[1] + 1 << " " << p[2] + 1;
	}
	out << std::endl;
	out.close();
	// A full disk must not pass for a complete mesh.
	if(out.fail())
	{
		sendRawText("Can't write " + std::string(filename) + "\n");
		return false;
	}
	return true;
}

} // namespace MIREL25D
