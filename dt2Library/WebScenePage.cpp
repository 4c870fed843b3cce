#include "MeshFiles.h"

// The page of the browser scene. It runs from a file:// URL (double-clicked by
// users), where browsers refuse to load "3d.obj" by request; so the mesh comes
// as the script "mesh.js", all scripts are local and the page references no
// remote URL. The viewer draws with three.js (MIT licence, "three.LICENSE.txt").
namespace MIREL25D {

namespace {
// Pieces below 16 kB: some compilers limit the length of one literal.
const char* const aPageChunks[] = {R"MIRELPAGE(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>Mirel 2.5D scene</title>
<style>
body { font-family: sans-serif; background: #f2f2f2; color: #222; margin: 0; }
h1 { text-align: center; font-size: 22px; margin: 10px 0 6px 0; }
#frame { position: relative; width: 1000px; height: 680px; margin: 0 auto; }
#cv { display: block; width: 1000px; height: 680px; touch-action: none; background: #383840; }
#legend { position: absolute; right: 10px; top: 10px; padding: 6px 8px; background: rgba(255, 255, 255, 0.85); border-radius: 4px; font-size: 12px; }
#legendBody { display: flex; align-items: stretch; margin-top: 4px; }
#legendTicks { display: flex; flex-direction: column; justify-content: space-between; margin-left: 6px; height: 200px; }
#panel, #help, #status { width: 1000px; margin: 8px auto; font-size: 14px; }
#panel label { margin-right: 18px; }
#help { color: #444; }
#status { color: #666; font-size: 12px; }
</style>
</head>
<body>
<h1>Mirel 2.5D</h1>
<div id="frame">
<canvas id="cv" width="1000" height="680"></canvas>
<div id="legend"><div>Height</div><div id="legendBody"><canvas id="legendBar" width="18" height="200"></canvas><div id="legendTicks"></div></div></div>
</div>
<div id="panel">
<label>Render mode
<select id="render_mode_list">
<option>smooth</option>
<option>flat</option>
<option>points</option>
<option>wireframe</option>
</select></label>
<label>Vertical exaggeration
<input id="exaggeration" type="range" min="0.1" max="20" step="0.1" value="1">
<span id="exaggerationValue">1.0</span></label>
<button id="resetView" type="button">Reset view</button>
</div>
<div id="help">Drag mouse to rotate, use SHIFT to <br> zoom and CTRL to translate<br>
The mouse wheel zooms, the right button translates. On a touch screen one finger rotates, two fingers zoom and translate.
A view opens directly with an address such as index.html#mode=wireframe&amp;exaggeration=3.</div>
<div id="status">Loading the scene ...</div>
<script src="three.min.js"></script>
<script src="OrbitControls.js"></script>
<script src="mesh.js"></script>
)MIRELPAGE",
	R"MIRELPAGE(<script>
(function () {
'use strict';
var statusBox = document.getElementById('status');
var numErrors = 0;
function report(text) {
	statusBox.textContent = text;
	console.log('Mirel scene: ' + text);
}
window.addEventListener('error', function (event) {
	++numErrors;
	report('error: ' + event.message);
});
if (typeof THREE === 'undefined' || typeof THREE.OrbitControls === 'undefined' || typeof MIREL_SCENE === 'undefined') {
	++numErrors;
	report('error: three.min.js, OrbitControls.js or mesh.js is missing beside this page');
	return;
}
var scene = MIREL_SCENE;

function decode(base64, ArrayType) {
	var text = atob(base64);
	var bytes = new Uint8Array(text.length);
	for (var i = 0; i < text.length; ++i) bytes[i] = text.charCodeAt(i);
	return new ArrayType(bytes.buffer);
}
var positions = decode(scene.positions, Float32Array);
var indices = decode(scene.indices, Uint32Array);
scene.positions = scene.indices = null;

// Colours by height: low blue, green, yellow, brown, high white.
var ramp = [[0.00, 0.16, 0.36, 0.68], [0.25, 0.20, 0.62, 0.40], [0.50, 0.92, 0.86, 0.38], [0.75, 0.60, 0.38, 0.20], [1.00, 0.97, 0.97, 0.97]];
function rampColor(t, out) {
	t = Math.min(1, Math.max(0, t));
	for (var k = 1; k < ramp.length; ++k) {
		if (t <= ramp[k][0] || k === ramp.length - 1) {
			var a = ramp[k - 1], b = ramp[k], s = (t - a[0]) / (b[0] - a[0]);
			out[0] = a[1] + s * (b[1] - a[1]);
			out[1] = a[2] + s * (b[2] - a[2]);
			out[2] = a[3] + s * (b[3] - a[3]);
			return out;
		}
	}
	return out;
}
var zMin = scene.zMin, zMax = scene.zMax, zRange = zMax - zMin;
var numVertices = positions.length / 3;
var colors = new Float32Array(positions.length);
var rgb = [0, 0, 0];
for (var v = 0; v < numVertices; ++v) {
	var z = positions[3 * v + 2] + scene.centre[2];
	rampColor(zRange > 0 ? (z - zMin) / zRange : 0.5, rgb);
	colors[3 * v] = rgb[0];
	colors[3 * v + 1] = rgb[1];
	colors[3 * v + 2] = rgb[2];
}

var positionAttribute = new THREE.BufferAttribute(positions, 3);
var colorAttribute = new THREE.BufferAttribute(colors, 3);
var surface = new THREE.BufferGeometry();
surface.setIndex(new THREE.BufferAttribute(indices, 1));
surface.setAttribute('position', positionAttribute);
surface.setAttribute('color', colorAttribute);
surface.computeVertexNormals();
surface.computeBoundingSphere();
var cloud = new THREE.BufferGeometry();
cloud.setAttribute('position', positionAttribute);
cloud.setAttribute('color', colorAttribute);

var materials = {
	smooth: new THREE.MeshPhongMaterial({ vertexColors: THREE.VertexColors, side: THREE.DoubleSide, shininess: 8 }),
	flat: new THREE.MeshPhongMaterial({ vertexColors: THREE.VertexColors, side: THREE.DoubleSide, shininess: 8, flatShading: true }),
	wireframe: new THREE.MeshBasicMaterial({ vertexColors: THREE.VertexColors, wireframe: true })
};
var mesh = new THREE.Mesh(surface, materials.smooth);
var points = new THREE.Points(cloud, new THREE.PointsMaterial({ vertexColors: THREE.VertexColors, size: 2, sizeAttenuation: false }));
points.visible = false;

var canvas = document.getElementById('cv');
// Smooth edges cost little on a graphics card but much in software
// rendering; large meshes have edges finer than a pixel anyway.
var renderer = new THREE.WebGLRenderer({ canvas: canvas, antialias: scene.numTriangles <= 250000 });
renderer.setPixelRatio(window.devicePixelRatio || 1);
renderer.setSize(1000, 680);
renderer.setClearColor(0x383840);
var world = new THREE.Scene();
world.add(mesh);
world.add(points);
world.add(new THREE.AmbientLight(0xffffff, 0.4));
// Sunlight from the north-west, as on shaded relief maps, shows the slopes.
var sun = new THREE.DirectionalLight(0xffffff, 0.55);
sun.position.set(-1, 1, 1.4);
world.add(sun);

// The surface lies in the xy-plane with z up, as surveyors look at it.
var radius = Math.max(surface.boundingSphere.radius, 1e-9);
var camera = new THREE.PerspectiveCamera(40, 1000 / 680, radius / 1000, radius * 100);
camera.up.set(0, 0, 1);
var headlight = new THREE.DirectionalLight(0xffffff, 0.25);
headlight.position.set(0.3, 0.5, 1);
camera.add(headlight);
world.add(camera);
var controls = new THREE.OrbitControls(camera, canvas);
controls.screenSpacePanning = true;
controls.maxDistance = radius * 20;
function resetView() {
	controls.target.set(0, 0, 0);
	camera.position.set(0, -1.9 * radius, 1.4 * radius);
	controls.update();
}
)MIRELPAGE",
	R"MIRELPAGE(// SHIFT with the left button zooms; CTRL (or the right button) translates.
window.addEventListener('mousedown', function (event) {
	controls.mouseButtons.LEFT = event.shiftKey ? THREE.MOUSE.DOLLY : THREE.MOUSE.ROTATE;
}, true);

function render() {
	renderer.render(world, camera);
}
controls.addEventListener('change', render);

var modeNames = ['smooth', 'flat', 'points', 'wireframe'];
var modeList = document.getElementById('render_mode_list');
function applyMode() {
	var mode = modeNames[modeList.selectedIndex] || 'smooth';
	mesh.visible = mode !== 'points';
	points.visible = mode === 'points';
	if (mode !== 'points') mesh.material = materials[mode];
	render();
}
modeList.addEventListener('change', applyMode);

var exaggeration = document.getElementById('exaggeration');
var exaggerationValue = document.getElementById('exaggerationValue');
function applyExaggeration() {
	var factor = parseFloat(exaggeration.value) || 1;
	mesh.scale.z = points.scale.z = factor;
	exaggerationValue.textContent = factor.toFixed(1);
	render();
}
exaggeration.addEventListener('input', applyExaggeration);
document.getElementById('resetView').addEventListener('click', function () {
	resetView();
	render();
});

// The legend in the heights of the data, not the recentred ones.
function drawLegend() {
	var bar = document.getElementById('legendBar');
	var context = bar.getContext('2d');
	var image = context.createImageData(bar.width, bar.height);
	for (var row = 0; row < bar.height; ++row) {
		rampColor(1 - row / (bar.height - 1), rgb);
		for (var col = 0; col < bar.width; ++col) {
			var at = 4 * (row * bar.width + col);
			image.data[at] = Math.round(255 * rgb[0]);
			image.data[at + 1] = Math.round(255 * rgb[1]);
			image.data[at + 2] = Math.round(255 * rgb[2]);
			image.data[at + 3] = 255;
		}
	}
	context.putImageData(image, 0, 0);
	var decimals = zRange > 0 ? Math.min(6, Math.max(0, 2 - Math.floor(Math.log10(zRange)))) : 2;
	var ticks = document.getElementById('legendTicks');
	for (var k = 0; k <= 4; ++k) {
		var label = document.createElement('div');
		label.textContent = (zMax - k * zRange / 4).toFixed(decimals);
		ticks.appendChild(label);
	}
}

// A view can be opened directly: index.html#mode=wireframe&exaggeration=3
function applyAddress() {
	var options = {};
	window.location.hash.replace(/^#/, '').split('&').forEach(function (pair) {
		var parts = pair.split('=');
		if (parts.length === 2) options[decodeURIComponent(parts[0])] = decodeURIComponent(parts[1]);
	});
	if (modeNames.indexOf(options.mode) >= 0) modeList.selectedIndex = modeNames.indexOf(options.mode);
	if (options.exaggeration !== undefined) exaggeration.value = options.exaggeration;
}

drawLegend();
resetView();
applyAddress();
applyMode();
applyExaggeration();
// Reading one pixel waits until the GPU has really drawn the frame.
renderer.getContext().readPixels(0, 0, 1, 1, renderer.getContext().RGBA, renderer.getContext().UNSIGNED_BYTE, new Uint8Array(4));
var firstFrameMs = Math.round(performance.now());
if (numErrors === 0)
	report('ready: ' + scene.numTriangles + ' triangles, ' + scene.numVertices + ' vertices, heights ' + zMin + ' to ' + zMax + '; first frame after ' + firstFrameMs + ' ms');
})();
</script>
</body>
</html>
)MIRELPAGE"};

const char* const aLicenseChunks[] = {R"MIRELPAGE(The scripts three.min.js and OrbitControls.js are three.js:

The MIT License

Copyright (c) 2010-2019 three.js authors

Permission is hereby granted, free of charge, to any person obtaining a copy
of this software and associated documentation files (the "Software"), to deal
in the Software without restriction, including without limitation the rights
to use, copy, modify, merge, publish, distribute, sublicense, and/or sell
copies of the Software, and to permit persons to whom the Software is
furnished to do so, subject to the following conditions:

The above copyright notice and this permission notice shall be included in
all copies or substantial portions of the Software.

THE SOFTWARE IS PROVIDED "AS IS", WITHOUT WARRANTY OF ANY KIND, EXPRESS OR
IMPLIED, INCLUDING BUT NOT LIMITED TO THE WARRANTIES OF MERCHANTABILITY,
FITNESS FOR A PARTICULAR PURPOSE AND NONINFRINGEMENT. IN NO EVENT SHALL THE
AUTHORS OR COPYRIGHT HOLDERS BE LIABLE FOR ANY CLAIM, DAMAGES OR OTHER
LIABILITY, WHETHER IN AN ACTION OF CONTRACT, TORT OR OTHERWISE, ARISING FROM,
OUT OF OR IN CONNECTION WITH THE SOFTWARE OR THE USE OR OTHER DEALINGS IN
THE SOFTWARE.
)MIRELPAGE"};
} // namespace

const StoredText webScenePage = {"index.html", aPageChunks, sizeof(aPageChunks) / sizeof(aPageChunks[0])};
const StoredText threeJsLicense = {"three.LICENSE.txt", aLicenseChunks, 1};

} // namespace MIREL25D
