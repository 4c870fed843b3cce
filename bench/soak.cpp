// Soak run: cycles of random work on a fresh triangulation (batch insertion,
// also on two threads, single insertions, removals, constraint segments of all
// strategies, zones and their set operations, refused NaN points), each cycle
// checked by the exact validator of the fuzz harnesses. Prints the resident
// memory after every cycle: after the first cycles have warmed up the
// allocator it must stay flat.
//   soak [SECONDS] [SEED]
#include "FuzzSupport.h"
#include <chrono>
#include <fstream>
#include <random>
#include <unistd.h>

using namespace fuzz;

namespace {
double residentMegabytes()
{
	std::ifstream statm("/proc/self/statm");
	long pages(0), resident(0);
	statm >> pages >> resident;
	return double(resident) * double(sysconf(_SC_PAGESIZE)) / (1024.0 * 1024.0);
}

struct Counts
{
	size_t numOps = 0, numPointsInserted = 0, numRemoved = 0, numSegments = 0, numZones = 0, numValidations = 0;
};

// One cycle: numOps operations on a new triangulation, validated at the end.
// The schedule (which operations, how many points) is the same in every
// cycle, only the coordinates differ: so every cycle needs the same memory,
// and resident memory that still grows after warm-up is a leak.
void runCycle(std::mt19937& rng, size_t numOps, Counts& counts)
{
	QuietStdout quiet;
	std::mt19937 schedule(12345);
	std::uniform_real_distribution<double> coord(0.0, 1000.0);
	std::uniform_int_distribution<int> op(0, 9);
	auto randomPoint = [&]() { return Point2(std::floor(coord(rng) * 64.0) / 64.0, std::floor(coord(rng) * 64.0) / 64.0, coord(rng)); };
	Mirel_2D dt(2000);
	std::vector<Point2> vPlaces;
	std::vector<Zone2*> vZones;
	for(size_t i = 0; i < numOps; ++i, ++counts.numOps)
	{
		switch(op(schedule))
		{
			case 0:
			case 1:
			{
				std::vector<Point2> v;
				size_t n(schedule() % 2 == 0 ? 50 + schedule() % 200 : 1000 + schedule() % 2000);
				for(size_t k = 0; k < n; ++k) v.push_back(randomPoint());
				if(schedule() % 4 == 0) v.push_back(Point2(std::numeric_limits<double>::quiet_NaN(), 1, 1));
				dt.setNumCPU(n >= 1000 && schedule() % 2 == 0 ? 2 : 1);
				std::vector<Point2*> vHandles;
				dt.insert(v, vHandles);
				for(const Point2& p : v)
					if(std::isfinite(p.x())) vPlaces.push_back(p);
				counts.numPointsInserted += n;
				break;
			}
			case 2:
			{
				Point2 p(randomPoint());
				dt.insert(p);
				vPlaces.push_back(p);
				++counts.numPointsInserted;
				break;
			}
			case 3:
			case 4:
			{
				std::vector<Point2*> vVtx;
				dt.getVertexPointers(vVtx);
				for(size_t k = 0; k < 20 && !vVtx.empty(); ++k)
				{
					Point2* pVtx(vVtx[rng() % vVtx.size()]);
					if(dt.isConstraint(pVtx)) continue;
					Point2 gone(*pVtx);
					dt.remove(pVtx);
					vVtx.erase(std::remove(vVtx.begin(), vVtx.end(), pVtx), vVtx.end());
					vPlaces.erase(std::remove(vPlaces.begin(), vPlaces.end(), gone), vPlaces.end());
					++counts.numRemoved;
				}
				break;
			}
			case 5:
			case 6:
			{
				std::vector<Segment2> vSegments;
				for(size_t k = 0, n = 1 + schedule() % 6; k < n; ++k) vSegments.push_back(Segment2(randomPoint(), randomPoint()));
				dt.createConstraint(vSegments, ConstraintInsertionStrategy(schedule() % 3), false);
				for(const Segment2& seg : vSegments) vPlaces.insert(vPlaces.end(), {seg.getSrc(), seg.getTrg()});
				counts.numSegments += vSegments.size();
				break;
			}
			default:
			{
				if(!dt.hasArea()) break;
				// A quadrilateral zone, combined with an earlier one, then sometimes deleted.
				Point2 c(randomPoint());
				double r(5.0 + coord(rng) / 10.0);
				std::vector<Segment2> vQuad{Segment2(Point2(c.x() - r, c.y() - r, 0), Point2(c.x() + r, c.y() - r, 0)),
					Segment2(Point2(c.x() + r, c.y() - r, 0), Point2(c.x() + r, c.y() + r, 0)),
					Segment2(Point2(c.x() + r, c.y() + r, 0), Point2(c.x() - r, c.y() + r, 0)),
					Segment2(Point2(c.x() - r, c.y() + r, 0), Point2(c.x() - r, c.y() - r, 0))};
				ConstraintGraph2* pGraph(dt.createConstraint(vQuad, CIS_CONSTRAINED_DELAUNAY, true));
				for(const Segment2& seg : vQuad) vPlaces.push_back(seg.getSrc());
				Zone2* pZone(pGraph != nullptr ? dt.createZone(pGraph, ZL_INSIDE, false) : nullptr);
				if(pZone == nullptr) break;
				++counts.numZones;
				if(!vZones.empty())
				{
					Zone2* pOther(vZones[rng() % vZones.size()]);
					Zone2* pUnion(zoneUnion(pZone, pOther));
					Zone2* pInter(zoneIntersection(pZone, pOther));
					size_t numUnion(pUnion != nullptr ? pUnion->getNumberOfTriangles() : 0), numInter(pInter != nullptr ? pInter->getNumberOfTriangles() : 0);
					FUZZ_CHECK(numUnion + numInter == pZone->getNumberOfTriangles() + pOther->getNumberOfTriangles());
					if(pUnion != nullptr) dt.deleteZone(pUnion);
					if(pInter != nullptr) dt.deleteZone(pInter);
				}
				vZones.push_back(pZone);
				if(vZones.size() > 8)
				{
					dt.deleteZone(vZones.front());
					vZones.erase(vZones.begin());
				}
				break;
			}
		}
	}
	std::vector<Point2*> vVtx;
	dt.getVertexPointers(vVtx);
	std::set<Point2> sVtx;
	for(Point2* pV : vVtx) sVtx.insert(*pV);
	for(const Point2& p : vPlaces) FUZZ_CHECK(sVtx.count(p) == 1);
	std::vector<Point2> vAll(sVtx.begin(), sVtx.end());
	validate(dt, vAll, true, !quiet.libraryGaveUp());
	++counts.numValidations;
}
} // namespace

int main(int argc, char** argv)
{
	double seconds(argc > 1 ? std::atof(argv[1]) : 60.0);
	unsigned seed(argc > 2 ? unsigned(std::atoi(argv[2])) : 1u);
	std::mt19937 rng(seed);
	Counts counts;
	auto start(std::chrono::steady_clock::now());
	auto elapsed = [&]() { return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(); };
	std::printf("soak: %.0f s, seed %u\n%6s %8s %10s %10s %9s %7s %12s\n", seconds, seed, "cycle", "time_s", "ops", "points", "removed", "zones", "resident_MB");
	std::vector<double> vResident;
	for(size_t cycle = 1; elapsed() < seconds || cycle <= 3; ++cycle)
	{
		runCycle(rng, 60, counts);
		vResident.push_back(residentMegabytes());
		std::printf("%6zu %8.1f %10zu %10zu %9zu %7zu %12.1f\n", cycle, elapsed(), counts.numOps, counts.numPointsInserted, counts.numRemoved, counts.numZones, vResident.back());
		std::fflush(stdout);
	}
	// Warm-up: the first third of the cycles.
	size_t warm(vResident.size() / 3);
	double maxAfterWarmUp(*std::max_element(vResident.begin() + long(warm), vResident.end()));
	std::printf("soak: %zu cycles, %zu operations, %zu validations in %.1f s; resident after warm-up %.1f MB, at the end %.1f MB, peak after warm-up %.1f MB\n",
		vResident.size(), counts.numOps, counts.numValidations, elapsed(), vResident[warm], vResident.back(), maxAfterWarmUp);
	return 0;
}
