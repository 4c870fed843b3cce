// Height queries on a terrain, Mirel_2D::getHeight against CGAL's
// Delaunay_triangulation_2 (exact predicates, inexact constructions) with
// locate plus the planar interpolation in the located face, in the same run
// on the same points and queries.
//
// Two query orders:
// - coherent: the queries sorted along a Hilbert curve beforehand (untimed);
//   CGAL starts each locate at the face of the previous answer, Mirel_2D
//   starts where its previous walk ended;
// - random: the queries in random order; CGAL sorts them spatially first (timed,
//   its fastest way for scattered queries) and answers in input order;
//   Mirel_2D answers one by one in input order, and through its batch entry
//   point getHeights (which sorts along the Hilbert curve itself, in both
//   orders, sorting time included); and, on a
//   sample, CGAL without sorting (locate from the previous face).
// Times are CPU times of the measuring thread, the best of k repetitions.
// The sums of the heights are printed as a check that both answer the same.
//
// Usage: bench_heights_cgal [numPoints] [numQueries] [--reps k]   (default 1000000 1000000, k = 3)

#include "Mirel_2D.h"
#include <CGAL/Delaunay_triangulation_2.h>
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Triangulation_vertex_base_with_info_2.h>
#include <CGAL/property_map.h>
#include <CGAL/spatial_sort.h>
#include <CGAL/hilbert_sort.h>
#include <algorithm>
#include <ctime>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

typedef CGAL::Exact_predicates_inexact_constructions_kernel K;
typedef CGAL::Triangulation_vertex_base_with_info_2<double, K> Vb;
typedef CGAL::Triangulation_data_structure_2<Vb> Tds;
typedef CGAL::Delaunay_triangulation_2<K, Tds> CgalDelaunay;
typedef K::Point_2 CgalPoint;

// CPU time of this thread: the figures do not count time the machine gave to
// other processes.
double now()
{
	timespec ts;
	clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
	return double(ts.tv_sec) + 1e-9 * double(ts.tv_nsec);
}

// The planar interpolation in a finite face; false outside the hull.
bool cgalHeight(const CgalDelaunay& dt, const CgalPoint& p, CgalDelaunay::Face_handle& hint, double& z)
{
	CgalDelaunay::Locate_type lt;
	int li;
	CgalDelaunay::Face_handle f(dt.locate(p, lt, li, hint));
	hint = f;
	if(dt.is_infinite(f)) return false;
	const CgalPoint& a(f->vertex(0)->point());
	const CgalPoint& b(f->vertex(1)->point());
	const CgalPoint& c(f->vertex(2)->point());
	double za(f->vertex(0)->info()), zb(f->vertex(1)->info()), zc(f->vertex(2)->info());
	double d((b.x() - a.x()) * (c.y() - a.y()) - (c.x() - a.x()) * (b.y() - a.y()));
	double wb(((p.x() - a.x()) * (c.y() - a.y()) - (c.x() - a.x()) * (p.y() - a.y())) / d);
	double wc(((b.x() - a.x()) * (p.y() - a.y()) - (p.x() - a.x()) * (b.y() - a.y())) / d);
	z = za + wb * (zb - za) + wc * (zc - za);
	return true;
}

struct Figures
{
	double seconds = 1e300;
	double sum = 0.0;
	size_t numFound = 0;
};

} // namespace

int main(int argc, char** argv)
{
	size_t numPoints(1000000), numQueries(1000000);
	int reps(3);
	std::vector<size_t> vSizes;
	for(int i = 1; i < argc; ++i)
	{
		if(std::strcmp(argv[i], "--reps") == 0 && i + 1 < argc) reps = std::atoi(argv[++i]);
		else vSizes.push_back(size_t(std::atol(argv[i])));
	}
	if(vSizes.size() > 0) numPoints = vSizes[0];
	if(vSizes.size() > 1) numQueries = vSizes[1];

	std::mt19937_64 rng(12345);
	std::uniform_real_distribution<double> d(0.0, 1000.0), noise(-0.5, 0.5);
	std::vector<MIREL25D::Point2> vPoints;
	std::vector<std::pair<CgalPoint, double>> vCgalPoints;
	for(size_t i = 0; i < numPoints; ++i)
	{
		double x(d(rng)), y(d(rng)), z(50.0 * std::sin(x / 80.0) * std::cos(y / 60.0) + noise(rng));
		vPoints.push_back(MIREL25D::Point2(x, y, z));
		vCgalPoints.push_back(std::make_pair(CgalPoint(x, y), z));
	}
	std::vector<CgalPoint> vQueries;
	for(size_t i = 0; i < numQueries; ++i) vQueries.push_back(CgalPoint(d(rng), d(rng)));
	std::vector<CgalPoint> vSortedQueries(vQueries);
	CGAL::hilbert_sort(vSortedQueries.begin(), vSortedQueries.end());

	double t0(now());
	MIREL25D::Mirel_2D mirel(static_cast<unsigned>(numPoints));
	mirel.insert(vPoints);
	double t1(now());
	CgalDelaunay cgal;
	cgal.insert(vCgalPoints.begin(), vCgalPoints.end());
	double t2(now());
	std::printf("terrain: %zu points, %zu queries; triangulation Mirel %.3f s, CGAL %.3f s\n", numPoints, numQueries, t1 - t0, t2 - t1);

	for(int order = 0; order < 2; ++order)
	{
		const std::vector<CgalPoint>& vQ(order == 0 ? vSortedQueries : vQueries);
		Figures mirelFig, cgalFig;
		for(int r = 0; r < reps; ++r)
		{
			Figures m;
			double s0(now());
			for(const CgalPoint& q : vQ)
			{
				double h(0.0);
				if(mirel.getHeight(q.x(), q.y(), h))
				{
					m.sum += h;
					++m.numFound;
				}
			}
			m.seconds = now() - s0;
			if(m.seconds < mirelFig.seconds) mirelFig = m;

			Figures c;
			s0 = now();
			CgalDelaunay::Face_handle hint;
			if(order == 0)
			{
				for(const CgalPoint& q : vQ)
				{
					double h(0.0);
					if(cgalHeight(cgal, q, hint, h))
					{
						c.sum += h;
						++c.numFound;
					}
				}
			}
			else
			{
				// Spatially sorted indices, answers in input order.
				std::vector<size_t> vIdx(vQ.size());
				std::iota(vIdx.begin(), vIdx.end(), size_t(0));
				typedef CGAL::Spatial_sort_traits_adapter_2<K, CGAL::Pointer_property_map<CgalPoint>::const_type> SortTraits;
				CGAL::spatial_sort(vIdx.begin(), vIdx.end(), SortTraits(CGAL::make_property_map(vQ)));
				std::vector<double> vHeight(vQ.size(), 0.0);
				std::vector<char> vFound(vQ.size(), 0);
				for(size_t i : vIdx)
				{
					double h(0.0);
					vFound[i] = cgalHeight(cgal, vQ[i], hint, h) ? 1 : 0;
					vHeight[i] = h;
				}
				for(size_t i = 0; i < vQ.size(); ++i)
				{
					if(!vFound[i]) continue;
					c.sum += vHeight[i];
					++c.numFound;
				}
			}
			c.seconds = now() - s0;
			if(c.seconds < cgalFig.seconds) cgalFig = c;
		}
		{
			Figures batchFig;
			for(int r = 0; r < reps; ++r)
			{
				std::vector<MIREL25D::Point2> vBatch;
				vBatch.reserve(vQ.size());
				for(const CgalPoint& q : vQ) vBatch.push_back(MIREL25D::Point2(q.x(), q.y(), 0.0));
				std::vector<bool> vHasHeight;
				Figures b;
				double s0(now());
				b.numFound = mirel.getHeights(vBatch, vHasHeight);
				b.seconds = now() - s0;
				for(size_t i = 0; i < vBatch.size(); ++i)
				{
					if(vHasHeight[i]) b.sum += vBatch[i].z();
				}
				if(b.seconds < batchFig.seconds) batchFig = b;
			}
			std::printf("%-9s Mirel getHeights (batch) %.3f s (%zu found, sum %.9e) | ratio to CGAL %.2f\n", order == 0 ? "coherent" : "random", batchFig.seconds, batchFig.numFound, batchFig.sum,
						batchFig.seconds / cgalFig.seconds);
		}
		std::printf("%-9s Mirel getHeight %.3f s (%zu found, sum %.9e) | CGAL locate+interpolate %.3f s (%zu found, sum %.9e) | ratio %.2f\n",
					order == 0 ? "coherent" : "random", mirelFig.seconds, mirelFig.numFound, mirelFig.sum, cgalFig.seconds, cgalFig.numFound, cgalFig.sum,
					mirelFig.seconds / cgalFig.seconds);
	}
	// For scale: scattered queries without sorting, CGAL starting at the
	// previous face, on a sample (each walk crosses much of the mesh).
	{
		size_t numSample(std::min<size_t>(20000, vQueries.size()));
		double s0(now());
		CgalDelaunay::Face_handle hint;
		double sum(0.0);
		for(size_t i = 0; i < numSample; ++i)
		{
			double h(0.0);
			if(cgalHeight(cgal, vQueries[i], hint, h)) sum += h;
		}
		double cgalPerQuery((now() - s0) / double(numSample));
		s0 = now();
		double sumMirel(0.0);
		for(size_t i = 0; i < numSample; ++i)
		{
			double h(0.0);
			if(mirel.getHeight(vQueries[i].x(), vQueries[i].y(), h)) sumMirel += h;
		}
		double mirelPerQuery((now() - s0) / double(numSample));
		std::printf("random, unsorted, %zu queries: Mirel getHeight %.2f us per query | CGAL locate from the previous face %.2f us per query | ratio %.2f (sums %.6e %.6e)\n",
					numSample, 1e6 * mirelPerQuery, 1e6 * cgalPerQuery, mirelPerQuery / cgalPerQuery, sumMirel, sum);
	}
	return 0;
}
