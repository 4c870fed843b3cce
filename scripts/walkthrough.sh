#!/usr/bin/env bash
# The README's end-to-end walkthrough of the mirel tool, run and checked:
#   generate the synthetic site (DEM and design surface as GeoTIFF, boundary,
#   breaklines, stake-out points and roads as GeoPackage), triangulate with
#   breaklines, contours every 10 m, a quality mesh of the site, cut and fill
#   against the design surface, heights at the stake-out points, the roads
#   draped onto the ground, the web scene; then bad input of every kind.
# It checks what a user relies on: ogrinfo reads every vector output and
# finds the site's reference system; the volumes equal the site's known
# values; every contour vertex, draped vertex and stake-out height lies on
# the known ground; coordinates survive every text format digit for digit;
# bad input gets one line on standard error, exit status 1 and no output.
#
#   scripts/walkthrough.sh MIREL [WORKDIR]
#
# MIREL is the built tool (e.g. build/apps/mirel); WORKDIR (default: a new
# temporary folder) receives data/ and out/. Needs gdal-bin (ogrinfo,
# ogr2ogr, gdal_translate, gdal_create) and awk. Exits non-zero on the first
# failed check.
set -euo pipefail

if [ $# -lt 1 ] || [ ! -x "$1" ]; then
	echo "usage: $0 MIREL [WORKDIR]   (MIREL: the built mirel tool)" >&2
	exit 2
fi
mirel=$(cd "$(dirname "$1")" && pwd)/$(basename "$1")
work=${2:-$(mktemp -d "${TMPDIR:-/tmp}/mirel-walkthrough.XXXXXX")}
mkdir -p "$work"
cd "$work"
rm -rf data out bad check
mkdir check # the checks' own files

numChecks=0
say() { echo "walkthrough: $*"; }
fail() {
	echo "walkthrough: FAILED: $*" >&2
	exit 1
}
passed() {
	numChecks=$((numChecks + 1))
	say "ok: $*"
}
# Runs the tool, echoing the command as the README shows it.
run() {
	echo "\$ mirel $*"
	"$mirel" "$@"
}
# The value of a key of the one-line JSON summary in the file $1.
jsonValue() {
	sed -n 's/.*"'"$2"'": \([^,}]*\).*/\1/p' "$1"
}
# Every coordinate with all 17 digits, not rounded, when layers become CSV.
wkt17=(--config OGR_WKT_PRECISION 17 --config OGR_WKT_ROUND NO)
toCsv() { # FILE [ogr2ogr options]: the layer as CSV with a WKT column, on stdout
	local file=$1
	shift
	ogr2ogr "${wkt17[@]}" -f CSV /vsistdout/ "$file" -lco GEOMETRY=AS_WKT "$@"
}

# ---------------------------------------------------------------- the site
say "1. the synthetic site"
run generate -o data
known=data/known_values.txt
knownValue() { awk -v key="$1" '$1 == key { print $2 }' "$known"; }
# The ground's height at x y, from the site's parameters: an awk function
# that every height check below shares.
groundAwk='
function ground(x, y,   u, v, k, t) {
	u = x - ox; v = y - oy
	for(k = 2; k < numKnots && v > kv[k]; ++k) {}
	t = (v - kv[k - 1]) / (kv[k] - kv[k - 1])
	return z0 + du * u + dv * v + kh[k - 1] + t * (kh[k] - kh[k - 1])
}
function absolute(a) { return a < 0 ? -a : a }'
groundVars=(-v ox="$(knownValue origin_x)" -v oy="$(knownValue origin_y)" -v z0="$(knownValue design_z0)"
	-v du="$(knownValue design_du)" -v dv="$(knownValue design_dv)" -v profile="$(awk '$1 == "profile" { $1 = ""; print }' "$known")")
groundInit='BEGIN { numKnots = split(profile, a, " ") / 2; for(i = 1; i <= numKnots; ++i) { kv[i] = a[2 * i - 1]; kh[i] = a[2 * i] } }'

# --------------------------------------------------------- the terrain model
say "2. terrain model with breaklines"
run triangulate data/dem.tif --breaklines data/breaklines.gpkg -o out --name terrain -q
[ -s out/terrain.ps ] && [ -s out/terrain.obj ] || fail "triangulate wrote no drawing or mesh"
passed "out/terrain.ps and out/terrain.obj"

say "3. contours every 10 m"
run contours data/dem.tif --breaklines data/breaklines.gpkg --interval 10 -o out --output out/contours.gpkg --name contours --ps -q
for ext in geojson shp csv dxf; do
	"$mirel" contours data/dem.tif --breaklines data/breaklines.gpkg --interval 10 -o out --output out/contours.$ext -q >/dev/null
done
toCsv out/contours.gpkg -select height >check/contours_check.csv
# Every vertex of every line lies on the ground at the line's height.
awk -F'"' "${groundVars[@]}" "$groundInit $groundAwk"'
	NR > 1 {
		height = substr($3, 2) + 0
		levels[height] = 1
		wkt = $2; sub(/^[A-Z ]*\(/, "", wkt); sub(/\)$/, "", wkt)
		n = split(wkt, vertex, ",")
		for(i = 1; i <= n; ++i) {
			split(vertex[i], c, " ")
			err = absolute(ground(c[1], c[2]) - height)
			if(err > worst) worst = err
			++numVertices
		}
		if(height % 10 != 0) { print "contour at " height " m is off the 10 m interval"; exit 1 }
	}
	END {
		for(h in levels) ++numLevels
		if(numVertices == 0) { print "no contour vertices"; exit 1 }
		if(worst > 1e-6) { print "a contour vertex lies " worst " m off its height"; exit 1 }
		printf "%d contour vertices on %d levels lie at their heights (largest deviation %.3g m)\n", numVertices, numLevels, worst
	}' check/contours_check.csv >check/contours_check.txt || fail "contours: $(cat check/contours_check.txt)"
passed "$(cat check/contours_check.txt)"
# The same lines in every text and binary format, coordinates digit for digit
# (DXF stores 15 significant digits and is compared by ogrinfo alone).
toCsv out/contours.gpkg -select height | cut -d'"' -f2 >check/contours_gpkg.wkt
for ext in geojson shp csv; do
	toCsv out/contours.$ext -select height | cut -d'"' -f2 >check/contours_$ext.wkt
	# A Shapefile reads back as MultiLineString where GeoPackage says LineString.
	sed -i 's/^MULTILINESTRING ((\(.*\)))$/LINESTRING (\1)/' check/contours_$ext.wkt
	cmp -s check/contours_gpkg.wkt check/contours_$ext.wkt || fail "contours.$ext: coordinates differ from the GeoPackage's"
done
passed "contours as GeoJSON, Shapefile and CSV keep every digit of the GeoPackage's coordinates"

say "4. quality mesh of the site"
run mesh data/dem.tif --boundary data/site.gpkg --breaklines data/breaklines.gpkg --min-angle 25 --max-edge 25 -o out --name site --ps --json -q >check/mesh.json
minAngle=$(jsonValue check/mesh.json min_angle_reached)
awk -v a="$minAngle" 'BEGIN { exit !(a >= 25) }' || fail "mesh: minimum angle $minAngle below 25 degrees"
[ -s out/site.obj ] && [ -s out/site.ps ] || fail "mesh wrote no mesh or drawing"
passed "site mesh with minimum angle $minAngle degrees"

say "5. cut and fill against the design surface"
run volume data/dem.tif data/design.tif --boundary data/site.gpkg -o out --name earthworks --ps --json -q >check/volume.json
for key in cut_volume fill_volume cut_area fill_area; do
	measured=$(jsonValue check/volume.json $key)
	expected=$(knownValue $key)
	awk -v m="$measured" -v e="$expected" 'BEGIN { d = m - e; if(d < 0) d = -d; exit !(d <= 1e-9 * e) }' ||
		fail "volume: $key is $measured, the site's known value is $expected"
	passed "$key $measured (known: $expected)"
done
# The components layer adds up to the printed totals.
toCsv out/earthworks_volume.gpkg -select type,volume | awk -F'"' -v cut="$(jsonValue check/volume.json cut_volume)" -v fill="$(jsonValue check/volume.json fill_volume)" '
	NR > 1 { split($3, f, ","); sum[f[2]] += f[3] }
	END { d1 = sum["cut"] - cut; d2 = sum["fill"] - fill; exit !(d1 * d1 + d2 * d2 <= 1e-12 * (cut * cut + fill * fill)) }' ||
	fail "volume: the components of out/earthworks_volume.gpkg do not add up to the totals"
passed "the components in out/earthworks_volume.gpkg add up to the totals"

say "6. heights at the stake-out points"
run height data/dem.tif --points data/stakeout.gpkg --output out/stakeout_heights.gpkg -o out -q
toCsv data/stakeout.gpkg -select known_height | cut -d'"' -f2- >check/stakeout_in.csv
toCsv out/stakeout_heights.gpkg | cut -d'"' -f2 >check/stakeout_out.wkt
paste -d'"' check/stakeout_in.csv check/stakeout_out.wkt | awk -F'"' "${groundVars[@]}" "$groundInit $groundAwk"'
	NR > 1 {
		# POINT (x y) in, POINT Z (x y z) out: the same x and y, digit for digit.
		gsub(/[A-Z()]/, "", $1); gsub(/[A-Z()]/, "", $3)
		split($1, p, " "); split($3, q, " ")
		if(p[1] != q[1] || p[2] != q[2]) { print "point " p[1] " " p[2] " came back as " q[1] " " q[2]; exit 1 }
		known = substr($2, 2) + 0
		if(absolute(q[3] - known) > 1e-6 || absolute(q[3] - ground(q[1], q[2])) > 1e-6) { print "height " q[3] " at " q[1] " " q[2] ", known " known; exit 1 }
		++numPoints
	}
	END { if(numPoints == 0) { print "no points"; exit 1 } printf "%d stake-out heights equal the known ones, coordinates unchanged\n", numPoints }' >check/stakeout_check.txt ||
	fail "height: $(cat check/stakeout_check.txt)"
passed "$(cat check/stakeout_check.txt)"

say "7. roads draped onto the ground"
run drape data/dem.tif --breaklines data/breaklines.gpkg --lines data/roads.gpkg -o out --name roads -q
toCsv out/roads_draped.gpkg | awk -F'"' "${groundVars[@]}" "$groundInit $groundAwk"'
	NR > 1 {
		wkt = $2; sub(/^[A-Z ]*\(/, "", wkt); sub(/\)$/, "", wkt)
		n = split(wkt, vertex, ",")
		for(i = 1; i <= n; ++i) {
			split(vertex[i], c, " ")
			if(c[3] == "") { print "a draped vertex has no height"; exit 1 }
			err = absolute(ground(c[1], c[2]) - c[3]); if(err > worst) worst = err
			++numVertices
		}
	}
	END { if(numVertices == 0 || worst > 1e-6) { print numVertices " vertices, largest deviation " worst; exit 1 }
		printf "%d draped vertices lie on the ground\n", numVertices }' >check/drape_check.txt || fail "drape: $(cat check/drape_check.txt)"
passed "$(cat check/drape_check.txt)"

say "8. the web scene"
run scene data/dem.tif --boundary data/site.gpkg --breaklines data/breaklines.gpkg -o out --name site -q
[ -s out/site_scene/index.html ] || fail "scene: no out/site_scene/index.html"
passed "out/site_scene/index.html"

say "9. every vector output reads back with the site's reference system"
for file in out/*.gpkg out/*.geojson out/*.shp out/*.csv out/*.dxf; do
	summary=$(ogrinfo -ro -so -al "$file" 2>&1) || fail "ogrinfo can't read $file: $summary"
	count=$(echo "$summary" | sed -n 's/^Feature Count: //p' | head -1)
	[ "${count:-0}" -gt 0 ] || fail "$file has no features"
	case $file in
		*.csv | *.dxf) grep -q 'UTM_Zone_32N' "${file%.*}.prj" || fail "$file: no reference system beside it (${file%.*}.prj)" ;;
		*) echo "$summary" | grep -q 'UTM zone 32N' || fail "$file: the reference system is missing" ;;
	esac
	passed "ogrinfo reads $file ($count features, ETRS89 / UTM zone 32N)"
done

# ----------------------------------------------------------------- bad input
say "10. bad input: one line, exit status 1, nothing written"
mkdir -p bad
expectRefusal() { # WHAT COMMAND...: the command must fail cleanly
	local what=$1
	shift
	rm -rf bad/out
	local status=0
	"$mirel" "$@" -o bad/out -q >bad/stdout.txt 2>bad/stderr.txt || status=$?
	[ $status -eq 1 ] || fail "$what: exit status $status instead of 1"
	[ "$(wc -l <bad/stderr.txt)" -eq 1 ] && grep -q '^mirel: error: ' bad/stderr.txt ||
		fail "$what: the error is not one line: $(cat bad/stderr.txt)"
	if [ -d bad/out ] && [ -n "$(ls -A bad/out)" ]; then fail "$what: left $(ls -A bad/out | tr '\n' ' ')in the output folder"; fi
	passed "$what: $(cat bad/stderr.txt)"
}
printf 'not a terrain\n\x01\x02\x03\n' >bad/survey.data
expectRefusal "unknown input format" contours bad/survey.data --interval 10
expectRefusal "unknown output format" contours data/dem.tif --interval 10 --output bad/out/contours.xyz
gdal_create -q -of GTiff -outsize 20 20 -bands 1 -ot Float32 -burn -9999 -a_nodata -9999 -a_srs EPSG:25832 \
	-a_ullr 500000 5000100 500100 5000000 bad/empty.tif
expectRefusal "raster with no valid cell" triangulate bad/empty.tif
srs='"crs": {"type": "name", "properties": {"name": "urn:ogc:def:crs:EPSG::25832"}}'
polygon() { # RING...: a GeoJSON file with one polygon
	local IFS=,
	echo "{\"type\": \"FeatureCollection\", $srs, \"features\": [{\"type\": \"Feature\", \"properties\": {}, \"geometry\": {\"type\": \"Polygon\", \"coordinates\": [[$*]]}}]}"
}
polygon '[500100, 5000100]' '[500900, 5000100]' '[500900, 5000900]' '[500100, 5000900]' >bad/open.geojson
expectRefusal "boundary not closed" mesh data/dem.tif --boundary bad/open.geojson
polygon '[500100, 5000100]' '[500900, 5000900]' '[500900, 5000100]' '[500100, 5000900]' '[500100, 5000100]' >bad/bowtie.geojson
expectRefusal "self-intersecting boundary" mesh data/dem.tif --boundary bad/bowtie.geojson
echo "{\"type\": \"FeatureCollection\", $srs, \"features\": [{\"type\": \"Feature\", \"properties\": {}, \"geometry\": {\"type\": \"LineString\", \"coordinates\": [[510000, 5010000, 100], [511000, 5011000, 120]]}}]}" >bad/far.geojson
expectRefusal "breaklines outside the data" triangulate data/dem.tif --breaklines bad/far.geojson
gdal_translate -q -a_ullr 520000 5021000 521000 5020000 data/design.tif bad/design_elsewhere.tif
expectRefusal "surfaces that do not overlap" volume data/dem.tif bad/design_elsewhere.tif
touch bad/afile
rm -rf bad/out
status=0
"$mirel" contours data/dem.tif --interval 10 -o bad/afile/out -q >bad/stdout.txt 2>bad/stderr.txt || status=$?
[ $status -eq 1 ] && [ "$(wc -l <bad/stderr.txt)" -eq 1 ] || fail "unwritable output folder: exit status $status, $(cat bad/stderr.txt)"
passed "unwritable output folder: $(cat bad/stderr.txt)"
leftovers=$(find out data -name '.mirel-tmp-*')
[ -z "$leftovers" ] || fail "staging files left behind: $leftovers"
passed "no staging files left behind"

say "all $numChecks checks passed in $work"
