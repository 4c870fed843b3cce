#!/usr/bin/env bash
# The README's pictures of the walkthrough, drawn from its outputs:
#   walkthrough_plan.png     contours, breaklines, boundary, draped roads and stake-out points
#   walkthrough_mesh.png     a corner of the quality mesh of the site (from its OBJ file)
#   walkthrough_cutfill.png  the cut and fill components
#   walkthrough_scene.png    the web scene in headless Chromium (when chromium is there)
#
#   scripts/walkthrough_pictures.sh WORKDIR [DOCS]
#
# WORKDIR is the folder scripts/walkthrough.sh ran in; DOCS (default docs)
# receives the PNG files. Needs gdal-bin, awk and Ghostscript.
set -euo pipefail
work=$(cd "$1" && pwd)
docs=$(mkdir -p "${2:-docs}" && cd "${2:-docs}" && pwd)
cd "$work"
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

# A PostScript page of WIDTH points showing the window X0 Y0 X1 Y1.
page() { # X0 Y0 X1 Y1 WIDTH CAPTION
	awk -v x0="$1" -v y0="$2" -v x1="$3" -v y1="$4" -v w="$5" -v caption="$6" 'BEGIN {
		s = w / (x1 - x0); h = (y1 - y0) * s
		print "%!PS-Adobe-3.0 EPSF-3.0"
		printf "%%%%BoundingBox: 0 0 %d %d\n", w + 20, h + 34
		printf "/s %.12g def /ox %.12g def /oy %.12g def\n", s, x0, y0
		print "/p { oy sub s mul 24 add exch ox sub s mul 10 add exch } def"
		print "1 setlinejoin 1 setlinecap"
		print "/Helvetica findfont 10 scalefont setfont 0 setgray 10 8 moveto (" caption ") show"
		printf "10 24 %.6f %.6f rectclip\n", w, h
	}'
}
# A layer's geometries as paths; each feature is stroked or filled with STYLE,
# a PostScript snippet ("0 0 1 setrgbcolor 1 setlinewidth stroke").
layer() { # FILE STYLE [ogr2ogr options]
	local file=$1 style=$2
	shift 2
	ogr2ogr -f CSV /vsistdout/ "$file" -lco GEOMETRY=AS_WKT "$@" | awk -F'"' -v style="$style" 'NR > 1 {
		wkt = $2
		print "newpath"
		if(wkt ~ /^(MULTI)?POINT/) {
			gsub(/[A-Z()]/, "", wkt); split(wkt, c, " ")
			printf "%s %s p 2.5 0 360 arc %s\n", c[1], c[2], style
			next
		}
		sub(/^[A-Z ]*/, "", wkt)
		n = split(wkt, part, /\) *, *\(/)
		for(k = 1; k <= n; ++k) {
			gsub(/[()]/, "", part[k])
			m = split(part[k], v, ",")
			for(i = 1; i <= m; ++i) { split(v[i], c, " "); printf "%s %s p %s\n", c[1], c[2], (i == 1 ? "moveto" : "lineto") }
		}
		print style
	}'
}
render() { # PS PNG
	gs -q -dSAFER -dBATCH -dNOPAUSE -dEPSCrop -sDEVICE=png16m -r110 -dTextAlphaBits=4 -dGraphicsAlphaBits=4 -sOutputFile="$2" "$1"
	echo "wrote $2"
}
extent=(500002.5 5000002.5 500997.5 5000997.5)

{
	page "${extent[@]}" 500 "contours every 10 m (brown), breaklines (blue, dashed), site boundary, draped roads (red), stake-out points"
	echo "0.97 0.96 0.93 setrgbcolor 0 0 2000 2000 rectfill"
	layer data/site.gpkg "gsave 0.88 0.93 0.84 setrgbcolor eofill grestore 0.2 0.4 0.1 setrgbcolor 1.2 setlinewidth stroke"
	layer out/contours.gpkg "0.55 0.35 0.15 setrgbcolor 0.8 setlinewidth stroke"
	layer data/breaklines.gpkg "0.1 0.3 0.9 setrgbcolor 1 setlinewidth [4 3] 0 setdash stroke [] 0 setdash"
	layer out/roads_draped.gpkg "0.85 0.1 0.1 setrgbcolor 1.5 setlinewidth stroke"
	layer data/stakeout.gpkg "0 setgray fill"
	echo "showpage"
} >"$tmp/plan.ps"
render "$tmp/plan.ps" "$docs/walkthrough_plan.png"

{
	page "${extent[@]}" 500 "cut (green) and fill (blue) components between the ground and the design surface"
	layer out/earthworks_volume.gpkg "gsave 0.3 0.75 0.3 setrgbcolor eofill grestore 0 setgray 0.6 setlinewidth stroke" -where "type = 'cut'"
	layer out/earthworks_volume.gpkg "gsave 0.3 0.5 0.9 setrgbcolor eofill grestore 0 setgray 0.6 setlinewidth stroke" -where "type = 'fill'"
	layer out/earthworks_volume.gpkg "gsave 0.9 0.3 0.3 setrgbcolor eofill grestore 0 setgray 0.6 setlinewidth stroke" -where "type = 'null'"
	echo "showpage"
} >"$tmp/cutfill.ps"
render "$tmp/cutfill.ps" "$docs/walkthrough_cutfill.png"

# The mesh's triangles in a window at the hole's corner; the OBJ's vertices
# are relative to nothing, so they are drawn in the site's coordinates.
window=(500280 5000380 500400 5000460)
{
	page "${window[@]}" 500 "the quality mesh (minimum angle 25 degrees, edges up to 25 m) at a corner of the hole"
	awk -v x0="${window[0]}" -v y0="${window[1]}" -v x1="${window[2]}" -v y1="${window[3]}" '
		$1 == "v" { x[++n] = $2; y[n] = $3 }
		$1 == "f" {
			split($2, a, "/"); split($3, b, "/"); split($4, c, "/")
			i = a[1]; j = b[1]; k = c[1]
			if(x[i] < x0 - 50 || x[i] > x1 + 50 || y[i] < y0 - 50 || y[i] > y1 + 50) next
			printf "newpath %s %s p moveto %s %s p lineto %s %s p lineto closepath gsave 0.9 0.93 0.97 setrgbcolor fill grestore 0.2 0.3 0.5 setrgbcolor 0.5 setlinewidth stroke\n", x[i], y[i], x[j], y[j], x[k], y[k]
		}' out/site.obj
	echo "showpage"
} >"$tmp/mesh.ps"
render "$tmp/mesh.ps" "$docs/walkthrough_mesh.png"

if command -v chromium >/dev/null 2>&1; then
	chromium --headless --no-sandbox --use-gl=angle --use-angle=swiftshader --enable-unsafe-swiftshader --hide-scrollbars \
		--window-size=900,560 --virtual-time-budget=8000 --screenshot="$docs/walkthrough_scene.png" "file://$work/out/site_scene/index.html" 2>/dev/null
	echo "wrote $docs/walkthrough_scene.png"
fi
