#include "MeshFiles.h"
#include "Point2.h"
#include "SceneFiles.h"
#include "StagedFile.h"
#include "Triangle2.h"
#include "tools.h"
#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <limits>
#include <memory>
#include <unordered_map>
#include <sstream>

namespace MIREL25D {

IndexedMesh::IndexedMesh(const std::vector<Triangle2*>& vTriangles)
{
	std::unordered_map<const Point2*, uint32_t> mVtxIdx;
	mVtxIdx.reserve(vTriangles.size() / 2 + 3);
	vCorners.reserve(3 * vTriangles.size());
	for(const Triangle2* pT : vTriangles)
		for(int i = 0; i < 3; ++i)
		{
			auto inserted(mVtxIdx.emplace(pT->getCorner(i), static_cast<uint32_t>(vVertices.size())));
			if(inserted.second) vVertices.push_back(pT->getCorner(i));
			vCorners.push_back(inserted.first->second);
		}
}

void writeObjMesh(const IndexedMesh& mesh, StagedFile& file)
{
	std::ostream& out(file.stream());
	// 20 significant digits: every double reads back exactly.
	out.precision(20);
	for(const Point2* p : mesh.vVertices) out << "v " << p->x() << " " << p->y() << " " << p->z() << "\n";
	for(size_t c = 0; c < mesh.vCorners.size(); c += 3)
		out << "f " << mesh.vCorners[c] + 1 << " " << mesh.vCorners[c + 1] + 1 << " " << mesh.vCorners[c + 2] + 1 << "\n";
}

namespace {
// Base64 of a byte stream, written as it comes; the page decodes it with atob,
// which is far faster than parsing millions of numbers.
class Base64Writer
{
public:
	explicit Base64Writer(std::ostream& out_) : out(out_), numPending(0), pending{0, 0, 0} {}
	void add(const unsigned char* bytes, size_t n)
	{
		for(size_t i = 0; i < n; ++i)
		{
			pending[numPending++] = bytes[i];
			if(numPending == 3) flushGroup();
		}
	}
	// Pads the last group with "=" as the encoding requires.
	void finish()
	{
		if(numPending == 0) return;
		size_t n(numPending);
		for(size_t i = n; i < 3; ++i) pending[i] = 0;
		char group[4];
		encode(group);
		for(size_t i = n + 1; i < 4; ++i) group[i] = '=';
		out.write(group, 4);
		numPending = 0;
	}

private:
	void encode(char* group) const
	{
		static const char* alphabet("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/");
		uint32_t v((uint32_t(pending[0]) << 16) | (uint32_t(pending[1]) << 8) | uint32_t(pending[2]));
		group[0] = alphabet[(v >> 18) & 63];
		group[1] = alphabet[(v >> 12) & 63];
		group[2] = alphabet[(v >> 6) & 63];
		group[3] = alphabet[v & 63];
	}
	void flushGroup()
	{
		char group[4];
		encode(group);
		out.write(group, 4);
		numPending = 0;
	}
	std::ostream& out;
	size_t numPending;
	unsigned char pending[3];
};

// Little-endian bytes, as the browser's typed arrays read them on every
// platform a browser runs on.
void addLittleEndian(Base64Writer& writer, uint32_t bits)
{
	unsigned char bytes[4] = {static_cast<unsigned char>(bits & 0xff), static_cast<unsigned char>((bits >> 8) & 0xff),
		static_cast<unsigned char>((bits >> 16) & 0xff), static_cast<unsigned char>((bits >> 24) & 0xff)};
	writer.add(bytes, 4);
}

void addFloat(Base64Writer& writer, double value)
{
	float f(static_cast<float>(value));
	uint32_t bits(0);
	std::memcpy(&bits, &f, sizeof(bits));
	addLittleEndian(writer, bits);
}
} // namespace

void writeMeshScript(const IndexedMesh& mesh, StagedFile& file)
{
	double aMin[3] = {std::numeric_limits<double>::max(), std::numeric_limits<double>::max(), std::numeric_limits<double>::max()};
	double aMax[3] = {std::numeric_limits<double>::lowest(), std::numeric_limits<double>::lowest(), std::numeric_limits<double>::lowest()};
	for(const Point2* p : mesh.vVertices)
	{
		double aCoords[3] = {p->x(), p->y(), p->z()};
		for(int d = 0; d < 3; ++d)
		{
			aMin[d] = std::min(aMin[d], aCoords[d]);
			aMax[d] = std::max(aMax[d], aCoords[d]);
		}
	}
	double aCentre[3] = {0.0, 0.0, 0.0};
	if(!mesh.vVertices.empty())
		for(int d = 0; d < 3; ++d) aCentre[d] = aMin[d] / 2.0 + aMax[d] / 2.0;
	std::ostream& out(file.stream());
	out.precision(17);
	out << "// Mesh of a Mirel 2.5D scene, read by index.html.\n";
	out << "var MIREL_SCENE = {\n";
	out << "\"numVertices\": " << mesh.vVertices.size() << ",\n";
	out << "\"numTriangles\": " << mesh.vCorners.size() / 3 << ",\n";
	out << "\"centre\": [" << aCentre[0] << ", " << aCentre[1] << ", " << aCentre[2] << "],\n";
	out << "\"zMin\": " << (mesh.vVertices.empty() ? 0.0 : aMin[2]) << ",\n";
	out << "\"zMax\": " << (mesh.vVertices.empty() ? 0.0 : aMax[2]) << ",\n";
	out << "\"positions\": \"";
	Base64Writer positions(out);
	for(const Point2* p : mesh.vVertices)
	{
		addFloat(positions, p->x() - aCentre[0]);
		addFloat(positions, p->y() - aCentre[1]);
		addFloat(positions, p->z() - aCentre[2]);
	}
	positions.finish();
	out << "\",\n\"indices\": \"";
	Base64Writer indices(out);
	for(uint32_t corner : mesh.vCorners) addLittleEndian(indices, corner);
	indices.finish();
	out << "\"\n};\n";
}

bool writeObjFile(const std::vector<Triangle2*>& vTriangles, const std::string& filename, const char* place)
{
	StagedFile file(filename);
	if(file.isOpen()) writeObjMesh(IndexedMesh(vTriangles), file);
	if(file.commit()) return true;
	sendError(place, "File [" + filename + "] can't be opened");
	return false;
}

bool writeWebSceneDirectory(const std::vector<Triangle2*>& vTriangles, const std::string& path, const char* place)
{
	namespace fs = std::filesystem;
	std::error_code ec;
	bool bExisted(fs::is_directory(path, ec));
	if(!createDirectory(path.c_str()))
	{
		sendError(place, "Can't create directory " + path);
		return false;
	}
	{
			std::ostringstream rawText;
			rawText << "writeWebScene: Creating " << path << "\n";
			sendRawText(rawText.str());
		}
	// Every file is staged first and renamed only when all are complete, so a
	// failure leaves the directory as it was.
	const char* aPageFiles[] = {"index.html", "three.min.js", "OrbitControls.js", "three.LICENSE.txt"};
	std::vector<std::unique_ptr<StagedFile>> vFiles;
	bool bOk(true);
	for(const char* name : aPageFiles)
	{
		vFiles.emplace_back(new StagedFile((fs::path(path) / name).string()));
		bOk = bOk && vFiles.back()->isOpen();
		if(bOk) writeStoredText(*findStoredText(name), *vFiles.back());
	}
	IndexedMesh mesh(vTriangles);
	vFiles.emplace_back(new StagedFile((fs::path(path) / "mesh.js").string()));
	bOk = bOk && vFiles.back()->isOpen();
	if(bOk) writeMeshScript(mesh, *vFiles.back());
	vFiles.emplace_back(new StagedFile((fs::path(path) / "3d.obj").string()));
	bOk = bOk && vFiles.back()->isOpen();
	if(bOk) writeObjMesh(mesh, *vFiles.back());
	for(std::unique_ptr<StagedFile>& pFile : vFiles)
	{
		// Full-disk errors show only when the buffers are flushed; a directory
		// in the place of a file would fail its rename after others succeeded.
		bOk = bOk && pFile->stream().flush().good();
		bOk = bOk && !(fs::exists(pFile->getTargetPath(), ec) && !fs::is_regular_file(pFile->getTargetPath(), ec));
	}
	if(bOk)
		for(std::unique_ptr<StagedFile>& pFile : vFiles) bOk = pFile->commit() && bOk;
	if(bOk) return true;
	vFiles.clear();
	if(!bExisted) fs::remove(path, ec);
	sendError(place, "Can't write the scene into " + path);
	return false;
}

} // namespace MIREL25D
