#!/usr/bin/env bash
# Contours of the same DEM at the same interval: mirel contours against
# gdal_contour, the tool a GIS user would pick. Both go from the GeoTIFF to a
# GeoPackage line layer with a height field; the DEM is the synthetic site of
# 'mirel generate'. Prints the median wall time of each over several runs and
# their ratio, and draws both sets of lines over each other (PostScript, and
# PNG when Ghostscript is there).
#
#   bench/contours_vs_gdal.sh MIREL [SIZE] [RUNS] [WORKDIR]
#
# SIZE: DEM cells per side (default 1000: a million cells), RUNS (default 5).
# The picture is drawn from a 200 x 200 site around its nodata patch, where
# the two differ: gdal_contour leaves the patch out, mirel's triangulation
# bridges it. Elsewhere both interpolate linearly between cell centres along
# the grid's edges, and the lines lie on top of each other.
set -euo pipefail

if [ $# -lt 1 ] || [ ! -x "$1" ]; then
	echo "usage: $0 MIREL [SIZE] [RUNS] [WORKDIR]" >&2
	exit 2
fi
mirel=$(cd "$(dirname "$1")" && pwd)/$(basename "$1")
size=${2:-1000}
runs=${3:-5}
work=${4:-$(mktemp -d "${TMPDIR:-/tmp}/mirel-contours.XXXXXX")}
interval=10
mkdir -p "$work"
cd "$work"

"$mirel" generate -o data --size "$size" >/dev/null
seconds() { # COMMAND...: wall time in seconds
	local start end
	start=$(date +%s.%N)
	"$@" >/dev/null
	end=$(date +%s.%N)
	awk -v a="$start" -v b="$end" 'BEGIN { printf "%.4f\n", b - a }'
}
median() { sort -g | awk '{ v[NR] = $1 } END { print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }

: >mirel.times
: >gdal.times
for ((run = 1; run <= runs; ++run)); do
	rm -f mirel.gpkg gdal.gpkg
	seconds "$mirel" contours data/dem.tif --interval $interval --output mirel.gpkg -q >>mirel.times
	seconds gdal_contour -q -a height -i $interval data/dem.tif gdal.gpkg >>gdal.times
done
mirelTime=$(median <mirel.times)
gdalTime=$(median <gdal.times)
count() { ogrinfo -ro -so -al "$1" | sed -n 's/^Feature Count: //p'; }
echo "DEM: $size x $size cells of 5 m, contours every $interval m, median of $runs runs"
echo "  mirel contours  $mirelTime s  ($(count mirel.gpkg) lines)"
echo "  gdal_contour    $gdalTime s  ($(count gdal.gpkg) lines)"
awk -v m="$mirelTime" -v g="$gdalTime" 'BEGIN { printf "  ratio mirel / gdal_contour: %.2f\n", m / g }'

# ---- the picture: both layers as PostScript lines over each other ----
"$mirel" generate -o site >/dev/null
"$mirel" contours site/dem.tif --breaklines site/breaklines.gpkg --interval $interval --output site_mirel.csv -q >/dev/null
gdal_contour -q -a height -i $interval site/dem.tif site_gdal.gpkg
ogr2ogr -f CSV site_gdal.csv site_gdal.gpkg -lco GEOMETRY=AS_WKT
# The window: the nodata patch and the valley floor south of it, 500 points wide.
window=(-v x0=500600 -v y0=5000450 -v x1=500900 -v y1=5000650)
toPage='function px(x) { return 20 + (x - x0) * 500 / (x1 - x0) } function py(y) { return 20 + (y - y0) * 500 / (x1 - x0) }'
lines() { # CSV "R G B" WIDTH: the layer'"'"'s lines
	awk -F'"' "${window[@]}" -v colour="$2" -v width="$3" "$toPage"'
		NR > 1 {
			wkt = $2; sub(/^[A-Z ]*\(+/, "", wkt); sub(/\)+$/, "", wkt); gsub(/\),\(/, ",", wkt)
			n = split(wkt, v, ",")
			printf "newpath %s setrgbcolor %s setlinewidth\n", colour, width
			for(i = 1; i <= n; ++i) { split(v[i], c, " "); printf "%.6f %.6f %s\n", px(c[1]), py(c[2]), (i == 1 ? "moveto" : "lineto") }
			print "stroke"
		}' "$1"
}
{
	awk "${window[@]}" "$toPage"'BEGIN {
		print "%!PS-Adobe-3.0 EPSF-3.0"
		printf "%%%%BoundingBox: 0 0 540 %d\n", py(y1) + 20
		print "1 setlinejoin 1 setlinecap"
		printf "0.92 setgray 20 20 %.6f %.6f rectfill\n", px(x1) - 20, py(y1) - 20
		printf "20 20 %.6f %.6f rectclip\n", px(x1) - 20, py(y1) - 20
	}'
	# The DEM's nodata cells in white: there gdal_contour has no data.
	gdal_translate -q -of XYZ site/dem.tif /vsistdout/ | awk "${window[@]}" "$toPage"'
		$3 == -9999 { printf "1 setgray %.6f %.6f %.6f %.6f rectfill\n", px($1 - 2.5), py($2 - 2.5), px($1 + 2.5) - px($1 - 2.5) + 0.5, py($2 + 2.5) - py($2 - 2.5) + 0.5 }'
	lines site_gdal.csv "0.45 0.65 1" 6
	lines site_mirel.csv "0.85 0 0" 1.5
	echo "initclip /Helvetica findfont 10 scalefont setfont 0 setgray"
	echo "20 7 moveto (every $interval m: gdal_contour thick blue, mirel contours thin red; white: nodata cells) show"
	echo "showpage"
} >contours_vs_gdal.ps
if command -v gs >/dev/null 2>&1; then
	gs -q -dSAFER -dBATCH -dNOPAUSE -dEPSCrop -sDEVICE=png16m -r120 -dTextAlphaBits=4 -dGraphicsAlphaBits=4 -sOutputFile=contours_vs_gdal.png contours_vs_gdal.ps
	echo "picture: $work/contours_vs_gdal.png"
else
	echo "picture: $work/contours_vs_gdal.ps"
fi
