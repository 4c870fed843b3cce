// Quality meshing of the unit square (a zone bounded by its four constraint
// edges) to about a million triangles: Mirel_2D::refine at 20.7 degrees and
// maximal edge length 0.00224 against CGAL's refine_Delaunay_mesh_2 with
// Delaunay_mesh_size_criteria_2(0.125, 0.00224) (0.125 = sin^2 of 20.7
// degrees). Each run is a forked child, so that its peak memory is its own;
// the two meshers alternate, the run with the least CPU time (user + system,
// robust on a shared machine) of k runs is reported. A third contestant is
// Mirel_2D::refineAdvanced with grid pre-meshing along x: the same bounds
// from a regular start. Its shifted rows make triangles with sides of
// gridLength and sqrt(1.25) x gridLength, so gridLength = maxlen / 1.12.
//
// Usage: bench_mesh_cgal [--reps k] [--maxlen l]   (defaults k = 3, l = 0.00224)

#include "Mirel25D.h"
#include <CGAL/Constrained_Delaunay_triangulation_2.h>
#include <CGAL/Delaunay_mesh_face_base_2.h>
#include <CGAL/Delaunay_mesh_size_criteria_2.h>
#include <CGAL/Delaunay_mesh_vertex_base_2.h>
#include <CGAL/Delaunay_mesher_2.h>
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

namespace {

typedef CGAL::Exact_predicates_inexact_constructions_kernel K;
typedef CGAL::Delaunay_mesh_vertex_base_2<K> Vb;
typedef CGAL::Delaunay_mesh_face_base_2<K> Fb;
typedef CGAL::Triangulation_data_structure_2<Vb, Fb> Tds;
typedef CGAL::Constrained_Delaunay_triangulation_2<K, Tds> Cdt;
typedef CGAL::Delaunay_mesh_size_criteria_2<Cdt> Criteria;

struct Result
{
	double seconds;
	double cpuSeconds; // user + system of the child: robust on a shared machine
	double numTriangles;
	double minAngle;
	double peakMiB;
};

double peakRssMiB()
{
	std::ifstream status("/proc/self/status");
	std::string line;
	while(std::getline(status, line))
	{
		if(line.compare(0, 6, "VmHWM:") == 0) return std::atof(line.c_str() + 6) / 1024.0;
	}
	return 0.0;
}

double cpuSecondsSoFar()
{
	rusage usage;
	getrusage(RUSAGE_SELF, &usage);
	return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) + 1e-6 * double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
}

double angleAt(double ax, double ay, double bx, double by, double cx, double cy)
{
	double ux(bx - ax), uy(by - ay), vx(cx - ax), vy(cy - ay);
	double c((ux * vx + uy * vy) / std::sqrt((ux * ux + uy * uy) * (vx * vx + vy * vy)));
	return std::acos(std::max(-1.0, std::min(1.0, c))) * 180.0 / M_PI;
}

double minAngleOf(double ax, double ay, double bx, double by, double cx, double cy)
{
	return std::min(angleAt(ax, ay, bx, by, cx, cy), std::min(angleAt(bx, by, cx, cy, ax, ay), angleAt(cx, cy, ax, ay, bx, by)));
}

// gridLength 0: plain refine; otherwise refineAdvanced with grid pre-meshing.
Result runMirel(double maxLen, double gridLength)
{
	using namespace MIREL25D;
	double cpu0(cpuSecondsSoFar());
	auto t0(std::chrono::steady_clock::now());
	Mirel_2D dt(1000);
	std::vector<Point2> vCorners{Point2(0, 0, 0), Point2(1, 0, 0), Point2(1, 1, 0), Point2(0, 1, 0)};
	dt.insert(vCorners);
	std::vector<Segment2> vSegments;
	for(size_t i = 0; i < 4; ++i) vSegments.push_back(Segment2(vCorners[i], vCorners[(i + 1) % 4]));
	Zone2* pZone(dt.createZone(dt.createConstraint(vSegments, CIS_CONSTRAINED_DELAUNAY, true), ZL_INSIDE, false));
	if(gridLength > 0.0)
	{
		MeshGenParams params(pZone);
		params.minAngleDegree = 20.7;
		params.maxEdgeLength = maxLen;
		params.gridLength = gridLength;
		params.gridVector = Vector2(1.0, 0.0, 0.0);
		dt.refineAdvanced(&params);
	}
	else dt.refine(pZone, 20.7, 0.001, maxLen, true);
	double seconds(std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
	double cpuSeconds(cpuSecondsSoFar() - cpu0);
	std::vector<Triangle2*> vT;
	pZone->getTriangles(vT);
	double minAngle(180.0);
	for(Triangle2* pT : vT)
	{
		const Point2 &a(*pT->getCorner(0)), &b(*pT->getCorner(1)), &c(*pT->getCorner(2));
		minAngle = std::min(minAngle, minAngleOf(a.x(), a.y(), b.x(), b.y(), c.x(), c.y()));
	}
	return Result{seconds, cpuSeconds, double(vT.size()), minAngle, peakRssMiB()};
}

Result runCgal(double maxLen)
{
	double cpu0(cpuSecondsSoFar());
	auto t0(std::chrono::steady_clock::now());
	Cdt cdt;
	Cdt::Vertex_handle v[4] = {cdt.insert(K::Point_2(0, 0)), cdt.insert(K::Point_2(1, 0)), cdt.insert(K::Point_2(1, 1)), cdt.insert(K::Point_2(0, 1))};
	for(int i = 0; i < 4; ++i) cdt.insert_constraint(v[i], v[(i + 1) % 4]);
	CGAL::refine_Delaunay_mesh_2(cdt, Criteria(0.125, maxLen));
	double seconds(std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
	double cpuSeconds(cpuSecondsSoFar() - cpu0);
	double numTriangles(0), minAngle(180.0);
	for(Cdt::Finite_faces_iterator f = cdt.finite_faces_begin(); f != cdt.finite_faces_end(); ++f)
	{
		if(!f->is_in_domain()) continue;
		++numTriangles;
		const K::Point_2 &a(f->vertex(0)->point()), &b(f->vertex(1)->point()), &c(f->vertex(2)->point());
		minAngle = std::min(minAngle, minAngleOf(a.x(), a.y(), b.x(), b.y(), c.x(), c.y()));
	}
	return Result{seconds, cpuSeconds, numTriangles, minAngle, peakRssMiB()};
}

// Runs one mesher in a child process and reads its result back.
enum Mesher
{
	MIREL,
	MIREL_GRID,
	CGAL_MESHER
};

Result inChild(Mesher mesher, double maxLen)
{
	int fds[2];
	if(pipe(fds) != 0) std::exit(1);
	pid_t pid(fork());
	if(pid == 0)
	{
		close(fds[0]);
		Result r(mesher == CGAL_MESHER ? runCgal(maxLen) : runMirel(maxLen, mesher == MIREL_GRID ? maxLen / 1.12 : 0.0));
		ssize_t numWritten(write(fds[1], &r, sizeof(r)));
		_exit(numWritten == ssize_t(sizeof(r)) ? 0 : 1);
	}
	close(fds[1]);
	Result r{0, 0, 0, 0, 0};
	ssize_t numRead(read(fds[0], &r, sizeof(r)));
	close(fds[0]);
	int status(0);
	waitpid(pid, &status, 0);
	if(numRead != ssize_t(sizeof(r)) || status != 0)
	{
		std::fprintf(stderr, "child failed\n");
		std::exit(1);
	}
	return r;
}

} // namespace

int main(int argc, char** argv)
{
	int reps(3);
	double maxLen(0.00224);
	for(int i = 1; i + 1 < argc; i += 2)
	{
		if(std::strcmp(argv[i], "--reps") == 0) reps = std::atoi(argv[i + 1]);
		else if(std::strcmp(argv[i], "--maxlen") == 0) maxLen = std::atof(argv[i + 1]);
	}
	const char* aNames[] = {"Mirel", "Mirel+grid", "CGAL"};
	Result aBest[3];
	for(Result& best : aBest) best = Result{1e300, 1e300, 0, 0, 0};
	for(int rep = 0; rep < reps; ++rep)
	{
		std::printf("run %d:", rep);
		for(int k = 0; k < 3; ++k)
		{
			Result r(inChild(Mesher(k), maxLen));
			std::printf(" %s %.3f s (cpu %.3f)", aNames[k], r.seconds, r.cpuSeconds);
			if(r.cpuSeconds < aBest[k].cpuSeconds) aBest[k] = r;
		}
		std::printf("\n");
	}
	std::printf("\nunit square, 20.7 degrees, max edge %g, best of %d\n", maxLen, reps);
	std::printf("%-11s %10s %10s %12s %12s %12s\n", "mesher", "wall [s]", "cpu [s]", "triangles", "min angle", "peak [MiB]");
	for(int k = 0; k < 3; ++k)
		std::printf("%-11s %10.3f %10.3f %12.0f %12.3f %12.1f\n", aNames[k], aBest[k].seconds, aBest[k].cpuSeconds, aBest[k].numTriangles, aBest[k].minAngle, aBest[k].peakMiB);
	for(int k = 0; k < 2; ++k)
		std::printf("%s/CGAL: cpu time ratio %.3f, peak memory ratio %.3f\n", aNames[k], aBest[k].cpuSeconds / aBest[2].cpuSeconds, aBest[k].peakMiB / aBest[2].peakMiB);
	return 0;
}
