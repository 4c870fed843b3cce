#include "Visualizer3.h"
#include "Edge2.h"
#include "Segment2.h"
#include "StagedFile.h"
#include "Triangle2.h"
#include "tools.h"
#include <cmath>
#include <exception>
#include <iostream>
#include <unordered_map>
#include <unordered_set>
#include <sstream>

namespace MIREL25D {

const char* const Visualizer3::CLIGHTBLUE("0 0.749 1 0.5");
const char* const Visualizer3::CDARKBLUE("0 0.1 .803 0.5");
const char* const Visualizer3::CYELLOW("1 1 0 0.5");
const char* const Visualizer3::CPINK("1 0.411 0.705 0.5");
const char* const Visualizer3::CBLACK("0.1 0.1 0.1 0.5");
const char* const Visualizer3::CLIGHTBROWN("0.823 0.705 0.549 0.5");
const char* const Visualizer3::CDARKBROWN("0.545 0.271 0.074 0.5");
const char* const Visualizer3::CORANGE("1 0.627 0 0.5");
const char* const Visualizer3::CPURPLE("0.627 0.125 0.941 0.5");
const char* const Visualizer3::CGRAY(".745 .745 .745 0.5");
const char* const Visualizer3::CLIGHTGRAY(".445 .445 .445 0.5");
const char* const Visualizer3::CRED("1 0 0 0.5");
const char* const Visualizer3::CGREEN("0 1 0 0.5");
const char* const Visualizer3::CWHITE("1 1 1 0.5");
const char* const Visualizer3::CRIMSON(".86 .08 .24 0.5");
const char* const Visualizer3::CDARKORANGE("1 .55 0 0.5");
const char* const Visualizer3::CGOLDENROD(".85 .65 .13 0.5");
const char* const Visualizer3::COLIVE(".5 .5 .0 0.5");
const char* const Visualizer3::CLAWNGREEN("0.49\t0.99 0.00 0.5");
const char* const Visualizer3::CGREENYELLOW("0.68 1.00 0.18 0.5");
const char* const Visualizer3::CPALEGREEN("0.60\t0.98 0.60 0.5");
const char* const Visualizer3::CMEDSPRINGGREEN("0.00 0.98 0.60 0.5");
const char* const Visualizer3::CLIGHTSEAGREAN("0.13 0.70 0.67 0.5");
const char* const Visualizer3::CCYAN("0.00 1.00 1.00 0.5");
const char* const Visualizer3::CSTEELBLUE("0.27 0.51 0.71 0.5");
const char* const Visualizer3::MIDNIGHTBLUE("0.10 0.10 0.44 0.5");
const char* const Visualizer3::CWHEAT("0.96 0.87 0.7 0.5");

int Visualizer3::nextColor(0);

namespace {
const int NUM_COLORS(27);
const char* const BACKFACE_MATERIAL("material { backdiffuse .151 .0 .2 }");
const unsigned SEGMENT_LINEWIDTH(1);
const unsigned END_POINT_LINEWIDTH(4);

struct NamedColor
{
	const char* name;
	const char* const& text;
};

// Row i is colour index i; the texts are the class constants themselves.
const NamedColor aColorTable[NUM_COLORS] = {{"CLIGHTBLUE", Visualizer3::CLIGHTBLUE}, {"CDARKBLUE", Visualizer3::CDARKBLUE},
	{"CYELLOW", Visualizer3::CYELLOW}, {"CPINK", Visualizer3::CPINK}, {"CBLACK", Visualizer3::CBLACK}, {"CLIGHTBROWN", Visualizer3::CLIGHTBROWN},
	{"CDARKBROWN", Visualizer3::CDARKBROWN}, {"CORANGE", Visualizer3::CORANGE}, {"CPURPLE", Visualizer3::CPURPLE}, {"CGRAY", Visualizer3::CGRAY},
	{"CLIGHTGRAY", Visualizer3::CLIGHTGRAY}, {"CRED", Visualizer3::CRED}, {"CGREEN", Visualizer3::CGREEN}, {"CWHITE", Visualizer3::CWHITE},
	{"CRIMSON", Visualizer3::CRIMSON}, {"CDARKORANGE", Visualizer3::CDARKORANGE}, {"CGOLDENROD", Visualizer3::CGOLDENROD},
	{"COLIVE", Visualizer3::COLIVE}, {"CLAWNGREEN", Visualizer3::CLAWNGREEN}, {"CGREENYELLOW", Visualizer3::CGREENYELLOW},
	{"CPALEGREEN", Visualizer3::CPALEGREEN}, {"CMEDSPRINGGREEN", Visualizer3::CMEDSPRINGGREEN}, {"CLIGHTSEAGREAN", Visualizer3::CLIGHTSEAGREAN},
	{"CCYAN", Visualizer3::CCYAN}, {"CSTEELBLUE", Visualizer3::CSTEELBLUE}, {"MIDNIGHTBLUE", Visualizer3::MIDNIGHTBLUE},
	{"CWHEAT", Visualizer3::CWHEAT}};

bool isFinite(const Point2& p)
{
	return std::isfinite(p.x()) && std::isfinite(p.y()) && std::isfinite(p.z());
}

// Non-finite points can't be drawn: they are left out with one message per call.
void reportSkipped(size_t numSkipped, const char* place)
{
	if(numSkipped > 0) sendWarning(place, std::to_string(numSkipped) + " object(s) with non-finite or missing coordinates left out");
}
} // namespace

Visualizer3::Visualizer3(const char* filename_)
	: filename(filename_ != nullptr ? filename_ : ""), bBackfaces(true), numUncaughtAtStart(std::uncaught_exceptions())
{
	{
			std::ostringstream rawText;
			rawText << "Visualizer3: Writing " << filename << "\n";
			sendRawText(rawText.str());
		}
	openFile();
}

Visualizer3::~Visualizer3()
{
	// Destroyed by an exception (an assertion while writing): the scene is
	// incomplete, so the file is not put in place.
	if(pFile && std::uncaught_exceptions() > numUncaughtAtStart)
	{
		pFile->discard();
		pFile.reset();
	}
	closeFile();
}

void Visualizer3::openFile()
{
	pFile.reset(new StagedFile(filename));
	if(!pFile->isOpen())
	{
		sendError("Visualizer3::openFile()", filename + " not writeable");
		pFile.reset();
		return;
	}
	pFile->stream().precision(15);
	pFile->stream() << "LIST\n";
}

bool Visualizer3::closeFile()
{
	if(!pFile) return false;
	pFile->stream() << "}" << std::endl;
	bool bCommitted(pFile->commit());
	if(!bCommitted) sendError("Visualizer3::closeFile()", filename + " not writeable");
	pFile.reset();
	return bCommitted;
}

void Visualizer3::setBackfaces(bool bBackfaces_)
{
	bBackfaces = bBackfaces_;
}

const char* Visualizer3::getColor(int i)
{
	if(i < 0 || i >= NUM_COLORS)
	{
		sendWarning("Visualizer3::getColor()", "no colour " + std::to_string(i) + ", the table has rows 0 to 26. Returning NULL");
		return nullptr;
	}
	return aColorTable[i].text;
}

const char* Visualizer3::getNextColor()
{
	// CPURPLE (8) and CLIGHTGRAY (10) are too close to neighbouring colours.
	if(nextColor == 8 || nextColor == 10) ++nextColor;
	const char* color(aColorTable[nextColor].text);
	nextColor = (nextColor + 1) % NUM_COLORS;
	return color;
}

const char* Visualizer3::getNextColorAndName(const char*& name)
{
	// Also CWHITE (13), which vanishes on a white background.
	if(nextColor == 8 || nextColor == 10 || nextColor == 13) ++nextColor;
	bool bInTable(nextColor >= 0 && nextColor < NUM_COLORS);
	name = bInTable ? aColorTable[nextColor].name : "CUNKNOWN";
	const char* color(aColorTable[nextColor].text);
	nextColor = (nextColor + 1) % NUM_COLORS;
	return color;
}

bool Visualizer3::isWritable(const char* color, const char* place) const
{
	if(color == nullptr)
	{
		sendWarning(place, "color==NULL, nothing written");
		return false;
	}
	return pFile != nullptr;
}

void Visualizer3::startList(size_t numVertices, size_t numFaces, bool bWithEdges)
{
	std::string material(bBackfaces ? BACKFACE_MATERIAL : "");
	std::ostream& out(pFile->stream());
	if(bWithEdges) out << "\n{\nappearance { +edge " << material << " }\nOFF" << "\n";
	else out << "\n{\nappearance { -edge  material " << material << " }\nOFF\n";
	out << numVertices << " " << numFaces << " 0\n";
}

void Visualizer3::writeCoordinates(const Point2& p)
{
	pFile->stream() << p.x() << " " << p.y() << " " << p.z() << "\n";
}

void Visualizer3::writeTriangles(const std::vector<Triangle2*>& vTriangles, const char* color, bool bWithEdges)
{
	const char* place("Visualizer3::writeTriangles()");
	if(!isWritable(color, place)) return;
	// Vertex indices in order of first appearance.
	std::vector<const Triangle2*> vDrawn;
	std::unordered_map<const Point2*, size_t> mVtxIdx;
	std::vector<const Point2*> vVertices;
	size_t numSkipped(0);
	for(const Triangle2* pT : vTriangles)
	{
		if(pT == nullptr || !pT->isAlive() || !isFinite(*pT->getCorner(0)) || !isFinite(*pT->getCorner(1)) || !isFinite(*pT->getCorner(2)))
		{
			++numSkipped;
			continue;
		}
		vDrawn.push_back(pT);
		for(int i = 0; i < 3; ++i)
			if(mVtxIdx.emplace(pT->getCorner(i), vVertices.size()).second) vVertices.push_back(pT->getCorner(i));
	}
	reportSkipped(numSkipped, place);
	startList(vVertices.size(), vDrawn.size(), true);
	for(const Point2* pVtx : vVertices) writeCoordinates(*pVtx);
	std::ostream& out(pFile->stream());
	for(const Triangle2* pT : vDrawn)
	{
		out << "3";
		for(int i = 0; i < 3; ++i)
		{
			auto q_it(mVtxIdx.find(pT->getCorner(i)));
			MIREL_ASSERT(q_it!=mVtxIdx.end());
			out << " " << q_it->second;
		}
		out << " " << color << "\n";
	}
	out << "}\n";
	if(!bWithEdges) return;
	// Each edge once: a shared edge is written by the triangle at the lower address.
	std::unordered_set<const Triangle2*> sDrawn(vDrawn.begin(), vDrawn.end());
	std::vector<Point2> vEdgePoints;
	vEdgePoints.reserve(4 * vDrawn.size());
	for(const Triangle2* pT : vDrawn)
		for(int i = 0; i < 3; ++i)
		{
			const Triangle2* pNeighbour(pT->getOppositeTriangle((i + 2) % 3));
			if(pNeighbour != nullptr && pNeighbour < pT && sDrawn.count(pNeighbour) != 0) continue;
			vEdgePoints.push_back(*pT->getCorner(i));
			vEdgePoints.push_back(*pT->getCorner((i + 1) % 3));
		}
	if(!vEdgePoints.empty()) writeVect(vEdgePoints, 2, SEGMENT_LINEWIDTH, CLAWNGREEN);
}

void Visualizer3::writeTriangleList(const std::vector<const Point2*>& vCorners, const char* color, bool bWithEdges)
{
	size_t numTriangles(vCorners.size() / 3);
	startList(vCorners.size(), numTriangles, bWithEdges);
	for(const Point2* p : vCorners) writeCoordinates(*p);
	std::ostream& out(pFile->stream());
	for(size_t t = 0; t < numTriangles; ++t) out << "3 " << 3 * t << " " << 3 * t + 1 << " " << 3 * t + 2 << " " << color << "\n";
	out << "}\n";
}

void Visualizer3::writeTriangles(const std::vector<Point2>& vTriangleCorners, const char* color, bool bWithEdges)
{
	const char* place("Visualizer3::writeTriangles()");
	if(!isWritable(color, place)) return;
	if(vTriangleCorners.size() % 3 != 0) sendWarning(place, "the number of points is not a multiple of 3, the last incomplete triangle is left out");
	std::vector<const Point2*> vCorners;
	size_t numSkipped(0);
	for(size_t t = 0; t + 2 < vTriangleCorners.size(); t += 3)
	{
		const Point2* p(&vTriangleCorners[t]);
		if(!isFinite(p[0]) || !isFinite(p[1]) || !isFinite(p[2]))
		{
			++numSkipped;
			continue;
		}
		vCorners.insert(vCorners.end(), {p, p + 1, p + 2});
	}
	reportSkipped(numSkipped, place);
	writeTriangleList(vCorners, color, bWithEdges);
}

void Visualizer3::writeTriangle(const Triangle2& t, const char* color)
{
	writeTriangles(std::vector<Triangle2*>{const_cast<Triangle2*>(&t)}, color, false);
}

void Visualizer3::writeTriangle(const Point2& p0, const Point2& p1, const Point2& p2, const char* color)
{
	writeTriangles(std::vector<Point2>{p0, p1, p2}, color, true);
}

void Visualizer3::writeVect(const std::vector<Point2>& vVertices, size_t verticesPerPolyline, unsigned linewidth, const char* color)
{
	size_t numPolylines(vVertices.size() / verticesPerPolyline);
	std::ostream& out(pFile->stream());
	out << "\n{\nappearance{linewidth " << linewidth << "}\n" << "VECT\n";
	out << numPolylines << " " << vVertices.size() << " 1\n";
	for(size_t i = 0; i < numPolylines; ++i) out << verticesPerPolyline << " ";
	out << "\n";
	// One colour for the whole object: the first polyline carries it.
	for(size_t i = 0; i < numPolylines; ++i) out << (i == 0 ? "1 " : "0 ");
	out << "\n";
	for(const Point2& p : vVertices) writeCoordinates(p);
	out << color << "\n}\n";
}

void Visualizer3::writeSegments(const std::vector<Segment2>& vSegments, const char* color, bool bWithEndPoints)
{
	const char* place("Visualizer3::writeSegments()");
	if(!isWritable(color, place)) return;
	std::vector<Point2> vVertices;
	vVertices.reserve(2 * vSegments.size());
	size_t numSkipped(0);
	for(const Segment2& seg : vSegments)
	{
		Point2 src(seg.getSrc()), trg(seg.getTrg());
		if(!isFinite(src) || !isFinite(trg))
		{
			++numSkipped;
			continue;
		}
		vVertices.push_back(src);
		vVertices.push_back(trg);
	}
	reportSkipped(numSkipped, place);
	if(vVertices.empty()) return;
	writeVect(vVertices, 2, SEGMENT_LINEWIDTH, color);
	if(bWithEndPoints) writePoints(vVertices, END_POINT_LINEWIDTH, color);
}

void Visualizer3::writeSegments(const std::vector<Edge2>& vEdges, const char* color, bool bWithEndPoints)
{
	std::vector<Segment2> vSegments;
	vSegments.reserve(vEdges.size());
	size_t numSkipped(0);
	for(const Edge2& e : vEdges)
	{
		if(e.getTriangle() == nullptr || !e.getTriangle()->isAlive() || e.getIndex() < 0 || e.getIndex() > 2)
		{
			++numSkipped;
			continue;
		}
		vSegments.push_back(Segment2(*e.getSrc(), *e.getTrg()));
	}
	reportSkipped(numSkipped, "Visualizer3::writeSegments()");
	writeSegments(vSegments, color, bWithEndPoints);
}

void Visualizer3::writeSegment(const Point2& p0, const Point2& p1, const char* color, bool bWithEndPoints)
{
	writeSegments(std::vector<Segment2>{Segment2(p0, p1)}, color, bWithEndPoints);
}

void Visualizer3::writeVertexPairs(const std::vector<VertexPair2>& vVertexPairs, const char* color)
{
	std::vector<Segment2> vSegments;
	vSegments.reserve(vVertexPairs.size());
	size_t numSkipped(0);
	for(const VertexPair2& vp : vVertexPairs)
	{
		if(vp.getP0() == nullptr || vp.getP1() == nullptr) ++numSkipped;
		else vSegments.push_back(Segment2(*vp.getP0(), *vp.getP1()));
	}
	reportSkipped(numSkipped, "Visualizer3::writeVertexPairs()");
	writeSegments(vSegments, color, false);
}

void Visualizer3::writePoints(const std::vector<Point2>& vPoints, unsigned linewidth, const char* color)
{
	const char* place("Visualizer3::writePoints()");
	if(vPoints.empty())
	{
		{
			std::ostringstream rawText;
			rawText << "Visualizer3::writePoints: no points" << "\n";
			sendRawText(rawText.str());
		}
		return;
	}
	if(!isWritable(color, place)) return;
	std::vector<Point2> vFinite;
	vFinite.reserve(vPoints.size());
	for(const Point2& p : vPoints)
		if(isFinite(p)) vFinite.push_back(p);
	reportSkipped(vPoints.size() - vFinite.size(), place);
	if(!vFinite.empty()) writeVect(vFinite, 1, linewidth, color);
}

void Visualizer3::writePoints(const std::vector<Point2*>& vPoints, unsigned linewidth, const char* color)
{
	std::vector<Point2> vCopies;
	vCopies.reserve(vPoints.size());
	size_t numSkipped(0);
	for(const Point2* p : vPoints)
	{
		if(p == nullptr) ++numSkipped;
		else vCopies.push_back(*p);
	}
	reportSkipped(numSkipped, "Visualizer3::writePoints()");
	writePoints(vCopies, linewidth, color);
}

void Visualizer3::writePoint(const Point2& p, unsigned linewidth, const char* color)
{
	writePoints(std::vector<Point2>{p}, linewidth, color);
}

void Visualizer3::writeBall(Point2& p, double radius)
{
	if(!pFile) return;
	if(!isFinite(p) || !std::isfinite(radius))
	{
		reportSkipped(1, "Visualizer3::writeBall()");
		return;
	}
	// Geomview's sphere: radius, then the centre.
	std::ostream& out(pFile->stream());
	out << "\n{appearance { +transparent material {alpha 0.6 diffuse 0.2 0.4 0 } } {SPHERE\n" << radius << "\n";
	writeCoordinates(p);
	out << "}}\n";
}

void Visualizer3::writeNormals(const std::vector<Triangle2*>& vTriangles, double scale)
{
	const char* place("Visualizer3::writeNormals()");
	if(!isWritable(CLIGHTSEAGREAN, place)) return;
	std::vector<Point2> vVertices;
	vVertices.reserve(2 * vTriangles.size());
	size_t numSkipped(0);
	for(const Triangle2* pT : vTriangles)
	{
		bool bDrawable(pT != nullptr && pT->isAlive() && isFinite(*pT->getCorner(0)) && isFinite(*pT->getCorner(1)) && isFinite(*pT->getCorner(2)));
		Vector2 normal(bDrawable ? pT->getNormalVector() : Vector2());
		double length(normal.length());
		// A normal too short to be normalised has no direction to draw.
		if(!bDrawable || !(length > 0.0) || !std::isfinite(length) || !std::isfinite(scale))
		{
			++numSkipped;
			continue;
		}
		Point2 c0(*pT->getCorner(0)), c1(*pT->getCorner(1)), c2(*pT->getCorner(2));
		Point2 centroid((c0.x() + c1.x() + c2.x()) / 3.0, (c0.y() + c1.y() + c2.y()) / 3.0, (c0.z() + c1.z() + c2.z()) / 3.0);
		double f(scale / length);
		vVertices.push_back(centroid);
		vVertices.push_back(Point2(centroid.x() + f * normal.x(), centroid.y() + f * normal.y(), centroid.z() + f * normal.z()));
	}
	reportSkipped(numSkipped, place);
	if(!vVertices.empty()) writeVect(vVertices, 2, SEGMENT_LINEWIDTH, CLIGHTSEAGREAN);
}

void Visualizer3::writeCubes(const std::vector<Point2>& vPoints, const char* color)
{
	const char* place("Visualizer3::writeCubes()");
	if(vPoints.size() % 8 != 0)
	{
		sendError(place, "vPoints.size() must be a multiple of 8");
		return;
	}
	if(!isWritable(color, place)) return;
	// Outward faces for a counterclockwise bottom ring seen from above.
	static const int aFaces[6][4] = {{0, 3, 2, 1}, {4, 5, 6, 7}, {0, 1, 5, 4}, {1, 2, 6, 5}, {2, 3, 7, 6}, {3, 0, 4, 7}};
	size_t numSkipped(0);
	std::ostream& out(pFile->stream());
	for(size_t c = 0; c < vPoints.size(); c += 8)
	{
		bool bFinite(true);
		for(size_t i = 0; i < 8; ++i) bFinite = bFinite && isFinite(vPoints[c + i]);
		if(!bFinite)
		{
			++numSkipped;
			continue;
		}
		startList(8, 6, true);
		for(size_t i = 0; i < 8; ++i) writeCoordinates(vPoints[c + i]);
		for(const int* face : aFaces) out << "4 " << face[0] << " " << face[1] << " " << face[2] << " " << face[3] << " " << color << "\n";
		out << "}\n";
	}
	reportSkipped(numSkipped, place);
}

} // namespace MIREL25D
