#include "MeshOutput.h"
#include "Color.h"
#include "MirelExport.h"
#include "Mirel_2D.h"
#include "Triangle2.h"
#include "Visualizer2.h"
#include <algorithm>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <limits>
#include <unordered_map>
#include <vector>

namespace mireltool {

using namespace MIREL25D;

namespace {
const int NUM_HEIGHT_BANDS(16);
// Beyond this the edges would cover the page in black.
const size_t MAX_TRIANGLES_WITH_EDGES(5000);

// A map-like colour ramp over the relative height t in [0, 1].
Color heightColor(double t)
{
	struct Stop
	{
		double t, r, g, b;
	};
	static const Stop aStops[] = {{0.0, 0.13, 0.45, 0.20}, {0.35, 0.55, 0.75, 0.35}, {0.6, 0.80, 0.70, 0.40}, {0.85, 0.55, 0.40, 0.25}, {1.0, 0.97, 0.97, 0.97}};
	const size_t numStops(sizeof(aStops) / sizeof(aStops[0]));
	size_t i(1);
	while(i + 1 < numStops && t > aStops[i].t) ++i;
	const Stop& a(aStops[i - 1]);
	const Stop& b(aStops[i]);
	double f((t - a.t) / (b.t - a.t));
	f = f < 0.0 ? 0.0 : (f > 1.0 ? 1.0 : f);
	return Color(float(a.r + f * (b.r - a.r)), float(a.g + f * (b.g - a.g)), float(a.b + f * (b.b - a.b)), 0.0f, true);
}

// Enters a folder and returns to the previous working folder on leave() or
// destruction; the tool runs one thread, so the process-wide change is safe.
class WorkingFolderGuard
{
public:
	explicit WorkingFolderGuard(const std::string& folder) : bInside(false)
	{
		std::error_code ec;
		previous = std::filesystem::current_path(ec);
		if(ec || folder.empty()) return;
		std::filesystem::current_path(folder, ec);
		bInside = !ec;
	}
	~WorkingFolderGuard() { leave(); }
	bool isInside() const { return bInside; }
	void leave()
	{
		if(!bInside) return;
		std::error_code ec;
		std::filesystem::current_path(previous, ec);
		bInside = false;
	}

private:
	std::filesystem::path previous;
	bool bInside;
};

bool endsWith(const std::string& path, const std::string& suffix)
{
	std::ifstream in(path, std::ios::binary | std::ios::ate);
	if(!in) return false;
	std::streamoff size(in.tellg());
	if(size < std::streamoff(suffix.size())) return false;
	std::string tail(suffix.size(), '\0');
	in.seekg(size - std::streamoff(suffix.size()));
	in.read(&tail[0], std::streamsize(tail.size()));
	return bool(in) && tail == suffix;
}
} // namespace

bool writeTerrainDrawing(Mirel_2D& dt, const std::vector<Triangle2*>& vT, const std::string& path, const std::string& title)
{
	double zMin(std::numeric_limits<double>::max()), zMax(-std::numeric_limits<double>::max());
	for(const Triangle2* pT : vT)
	{
		for(int i = 0; i < 3; ++i)
		{
			zMin = std::min(zMin, pT->getCorner(i)->z());
			zMax = std::max(zMax, pT->getCorner(i)->z());
		}
	}
	// Bands in order: one colour change per band instead of one per triangle.
	std::vector<std::vector<Triangle2*>> vBands(NUM_HEIGHT_BANDS);
	double zRange(zMax - zMin);
	for(Triangle2* pT : vT)
	{
		double zMean((pT->getCorner(0)->z() + pT->getCorner(1)->z() + pT->getCorner(2)->z()) / 3.0);
		int band(zRange > 0.0 ? int((zMean - zMin) / zRange * NUM_HEIGHT_BANDS) : 0);
		vBands[size_t(std::min(std::max(band, 0), NUM_HEIGHT_BANDS - 1))].push_back(pT);
	}
	{
		// The drawing's title is the name it is opened with: the bare file name.
		WorkingFolderGuard guard(std::filesystem::path(path).parent_path().string());
		std::string fileName(std::filesystem::path(path).filename().string());
		Visualizer2 vis(guard.isInside() ? fileName.c_str() : path.c_str());
		guard.leave();
		vis.addHeaderLine(title.c_str());
		std::string heights("heights " + std::to_string(zMin) + " (green) to " + std::to_string(zMax) + " (white)");
		vis.addHeaderLine(heights.c_str());
		for(int b = 0; b < NUM_HEIGHT_BANDS; ++b) vis.addObject(vBands[size_t(b)], heightColor((b + 0.5) / NUM_HEIGHT_BANDS));
		if(vT.size() <= MAX_TRIANGLES_WITH_EDGES) dt.show(&vis, false);
		vis.writeFile();
	}
	return endsWith(path, "%%Trailer\n");
}

namespace {
// Vertices as "v x y z" and faces as "f a b c" (1-based) in the shortest
// round-trip text, written in large blocks.
template<class GetVertex, class GetFace>
bool writeObjText(const std::string& path, int64_t numVertices, GetVertex getVertex, int64_t numFaces, GetFace getFace)
{
	std::FILE* pFile(std::fopen(path.c_str(), "wb"));
	if(pFile == nullptr) return false;
	std::string buffer;
	const size_t flushSize(1 << 20);
	buffer.reserve(flushSize + 256);
	bool bOk(true);
	auto flush = [&]() {
		if(!buffer.empty() && std::fwrite(buffer.data(), 1, buffer.size(), pFile) != buffer.size()) bOk = false;
		buffer.clear();
	};
	char aNum[64];
	auto append = [&](auto v) {
		std::to_chars_result res(std::to_chars(aNum, aNum + sizeof(aNum), v));
		buffer.push_back(' ');
		buffer.append(aNum, res.ptr);
	};
	buffer += "# Written by Mirel2D\n";
	for(int64_t i = 0; i < numVertices && bOk; ++i)
	{
		double x, y, z;
		getVertex(i, x, y, z);
		buffer += 'v';
		append(x);
		append(y);
		append(z);
		buffer += '\n';
		if(buffer.size() >= flushSize) flush();
	}
	for(int64_t i = 0; i < numFaces && bOk; ++i)
	{
		long long a, b, c;
		getFace(i, a, b, c);
		buffer += 'f';
		append(a + 1LL);
		append(b + 1LL);
		append(c + 1LL);
		buffer += '\n';
		if(buffer.size() >= flushSize) flush();
	}
	flush();
	if(std::fclose(pFile) != 0) bOk = false;
	return bOk;
}
} // namespace

bool writeObjExact(const MirelExport& mesh, const std::string& path)
{
	return writeObjText(
		path, mesh.numPoints, [&](int64_t i, double& x, double& y, double& z) { mesh.getCoordinates(int32_t(i), x, y, z); }, mesh.numTriangles,
		[&](int64_t i, long long& a, long long& b, long long& c) {
			int ia, ib, ic;
			mesh.getCornerIndices(int32_t(i), ia, ib, ic);
			a = ia;
			b = ib;
			c = ic;
		});
}

bool writeObjExact(const std::vector<Triangle2*>& vT, const std::string& path, double dx, double dy)
{
	std::unordered_map<const Point2*, long long> mIndex;
	std::vector<const Point2*> vVertices;
	for(const Triangle2* pT : vT)
	{
		for(int i = 0; i < 3; ++i)
		{
			if(mIndex.emplace(pT->getCorner(i), (long long)vVertices.size()).second) vVertices.push_back(pT->getCorner(i));
		}
	}
	return writeObjText(
		path, int64_t(vVertices.size()),
		[&](int64_t i, double& x, double& y, double& z) {
			x = vVertices[size_t(i)]->x() + dx;
			y = vVertices[size_t(i)]->y() + dy;
			z = vVertices[size_t(i)]->z();
		},
		int64_t(vT.size()),
		[&](int64_t i, long long& a, long long& b, long long& c) {
			a = mIndex[vT[size_t(i)]->getCorner(0)];
			b = mIndex[vT[size_t(i)]->getCorner(1)];
			c = mIndex[vT[size_t(i)]->getCorner(2)];
		});
}

} // namespace mireltool
