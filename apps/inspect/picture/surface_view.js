// The view of a part that the reader turns: WebGL 2, drawn when something changes. Without WebGL
// the page keeps its still pictures. The data: the head as JSON (view-head), and in base64 the mesh
// (view-mesh) and the points (view-within, view-out, view-unassigned). The points come after this
// script in the page, so that the part is drawn while they are read.
//
// Very many points are drawn in parts, one more with each frame, until all are there; how many parts
// a frame draws follows from what the machine can do, and a turn begins again with the first.
(function () {
"use strict";
var figure = document.getElementById("view");
if (!figure) return;
var began = performance.now();
var stage = figure.querySelector(".stage"), canvas = figure.querySelector("canvas");
var head = JSON.parse(document.getElementById("view-head").textContent);
function isDrawnBySoftware() { // a second context costs little once there is a first
  var probe = document.createElement("canvas"), form = {antialias: false, depth: false, failIfMajorPerformanceCaveat: true};
  probe.width = probe.height = 1;
  probe = probe.getContext("webgl2", form);
  if (!probe) return true;
  var info = probe.getExtension("WEBGL_debug_renderer_info");
  return /swiftshader|llvmpipe|softpipe|software|basic render/i.test(
    probe.getParameter(info ? info.UNMASKED_RENDERER_WEBGL : probe.RENDERER));
}
// Without a graphics card smooth edges take most of the time: not for large pictures.
var drawnItems = head.faces.reduce(function (sum, face) { return sum + face.triangles + face.points; }, 0);
var isSmooth = drawnItems < 100000 || !isDrawnBySoftware();
var gl = canvas.getContext("webgl2", {antialias: isSmooth, alpha: true, preserveDrawingBuffer: true});
if (!gl) return;

// ---- data

function decoded(text) { // base64
  if (Uint8Array.fromBase64) return Uint8Array.fromBase64(text);
  var plain = atob(text), bytes = new Uint8Array(plain.length);
  for (var i = 0; i < bytes.length; ++i) bytes[i] = plain.charCodeAt(i);
  return bytes;
}

function takenText(id) { // the page needs it once
  var element = document.getElementById(id), text = element ? element.textContent : "";
  if (element) element.textContent = "";
  return text;
}

var record = 12; // bytes

// Differences of one number to the next, in groups of seven bits, folded to be positive.
function numbersOf(bytes, from, count) {
  var numbers = new Uint32Array(count), last = 0, at = from;
  for (var i = 0; i < count; ++i) {
    var folded = 0, factor = 1, byte;
    do { byte = bytes[at++]; folded += (byte & 127) * factor; factor *= 128; } while (byte > 127);
    last += folded % 2 ? -(folded + 1) / 2 : folded / 2;
    numbers[i] = last;
  }
  return {numbers: numbers, end: at};
}

function halfOf(bits) {
  var size = bits & 0x7fff, exponent = size >> 10, digits = size & 1023;
  var value = exponent ? Math.pow(2, exponent - 25) * (1024 + digits) : digits * Math.pow(2, -24);
  return bits & 0x8000 ? -value : value;
}

// ---- programs

var common = "#version 300 es\nprecision highp float;precision highp int;\n";
// The place of a record, its normal and its deviation, and where that is in the picture.
var places = common +
  "layout(location=0) in vec3 place;layout(location=1) in vec2 folded;layout(location=2) in float half_deviation;layout(location=3) in vec2 tags;\n" +
  "uniform vec4 cube;uniform mat3 turn;uniform vec2 pan;uniform vec3 scale;uniform float unit;\n" +
  "vec3 position(){return cube.xyz+cube.w*place;}\n" +
  "vec3 normal(){vec3 n=vec3(folded,1.0-abs(folded.x)-abs(folded.y));float t=max(-n.z,0.0);\n" +
  "n.x+=n.x>=0.0?-t:t;n.y+=n.y>=0.0?-t:t;return normalize(n);}\n" +
  "vec4 seen(vec3 p){vec3 q=turn*p;return vec4((q.xy-pan)*scale.xy,-q.z*scale.z,1.0);}\n";
var colors = "uniform vec3 ramp[9];uniform vec3 ground;uniform vec3 ink;uniform vec3 bare;\n";

var meshProgram = program(places +
  "layout(location=4) in float face;out vec3 n;out vec3 value;flat out float of_face;\n" +
  "void main(){gl_Position=seen(position());n=turn*normal();float cover=tags.x/255.0;\n" +
  "value=vec3(cover,cover*half_deviation*unit,cover*(tags.y-128.0)/127.0);of_face=face;}",
  common + colors +
  "in vec3 n;in vec3 value;flat in float of_face;uniform vec2 limits;uniform float judged,dot_size,chosen,opacity;uniform vec3 accent;out vec4 color;\n" +
  "void main(){vec3 unit=normalize(n);float lit=max(dot(unit,normalize(vec3(0.32,0.45,0.83))),0.0);\n" +
  "float stripes=0.0;vec3 c=bare;\n" +
  "if(value.x>=0.5){float deviation=value.y/value.x,out_part=value.z/value.x;\n" +
  "int k=int(floor((deviation-limits.x)/max(limits.y-limits.x,1e-30)*7.0))+1;\n" +
  "if(deviation<limits.x)k=0;else if(deviation>limits.y)k=8;else k=clamp(k,1,7);\n" +
  "if(judged>0.5)k=out_part>0.5?8:out_part<-0.5?0:clamp(k,1,7);\n" +
  "c=ramp[k];\n" +
  "if(judged>0.5&&(k==0||k==8)){float along=(k==8?gl_FragCoord.x+gl_FragCoord.y:gl_FragCoord.x-gl_FragCoord.y)/dot_size;\n" +
  "stripes=smoothstep(0.0,0.12,mod(along,8.0)/8.0)*(1.0-smoothstep(0.3,0.42,mod(along,8.0)/8.0));}}\n" +
  "c=mix(c,ground,0.92*stripes);c*=0.82+0.18*lit;\n" +
  "if(abs(of_face-chosen)<0.5)c=mix(c,accent,0.4);color=vec4(c*opacity,opacity);}");

var edgeProgram = program(places +
  "void main(){vec4 p=seen(position());p.z-=0.0006;gl_Position=p;}",
  common + "uniform vec4 paint;out vec4 color;void main(){color=vec4(paint.rgb*paint.a,paint.a);}");

// Points at the ends of their whiskers. The states: 0 unassigned, 1 unjudged, 2 in, 3 above, 4 below.
var moved = "uniform float magnification,longest;uniform vec2 sizes;flat out int kind;flat out float state;\n" +
  "vec3 tip(){return position()+normal()*clamp(half_deviation*unit*magnification,-longest,longest)*(tags.y<0.5?0.0:1.0);}\n" +
  // A tip is seen if its foot is, also one that the magnified deviation takes below the surface.
  "uniform sampler2D front;uniform float glass;\n" +
  "bool is_hidden(){vec4 p=seen(position());float there=texture(front,p.xy*0.5+0.5).r;return glass<0.5&&p.z*0.5+0.5>there+0.002;}\n" +
  "vec4 seen_tip(){vec4 p=seen(tip());p.z=-0.9+0.04*seen(position()).z-(tags.y>2.5?0.06:0.0);return p;}\n";
var pointProgram = program(places + moved +
  "flat out float faint;void main(){kind=int(tags.x+0.5);state=tags.y;vec4 p=seen_tip();faint=is_hidden()?1.0:0.0;\n" +
  "if(faint>0.5&&state<2.5)p=vec4(2.0,2.0,2.0,1.0);gl_Position=p;gl_PointSize=state>2.5?sizes.y:state<0.5?min(sizes.y,2.0*sizes.x):sizes.x;}",
  common + colors +
  "flat in int kind;flat in float state;flat in float faint;uniform vec2 sizes;out vec4 color;\n" +
  "void main(){vec2 p=gl_PointCoord*2.0-1.0;vec3 c=ramp[clamp(kind,0,8)];float edge=2.0/sizes.y;\n" +
  "if(state>2.5){p.y=state>3.5?-p.y:p.y;float inside=min(min(0.86-p.y,(p.y+0.86)*0.447-abs(p.x)*0.894),1.0);\n" +
  "if(inside<0.0)discard;if(faint>0.5&&inside>1.5*edge)discard;if(faint<0.5&&inside<0.9*edge)c=ground;}\n" +
  "else if(state<0.5){if(min(abs(p.x-p.y),abs(p.x+p.y))>0.28||faint>0.5)discard;c=ink;}\n" +
  "else{float r=dot(p,p);if(r>1.0||faint>0.5)discard;if(sizes.x>5.0&&r>0.55)c=mix(c,ink,0.6);}\n" +
  "float a=faint>0.5?0.6:1.0;color=vec4(c*a,a);}");

// Each whisker is a strip of two triangles.
var whiskerProgram = program(places + moved +
  "uniform vec2 pixel;uniform float width;\n" +
  "void main(){kind=int(tags.x+0.5);state=tags.y;vec4 b=seen_tip(),a=seen(position());a.z=b.z;\n" +
  "if(is_hidden()){gl_Position=vec4(2.0,2.0,2.0,1.0);return;}\n" +
  "vec2 along=(b.xy-a.xy)/pixel;\n" +
  "float length_seen=length(along);vec2 side=length_seen>0.0?vec2(-along.y,along.x)/length_seen:vec2(0.0);\n" +
  "vec4 p=(gl_VertexID&1)==0?a:b;p.xy+=side*pixel*((gl_VertexID&2)==0?-0.5:0.5)*width;p.z+=0.003;\n" +
  "gl_Position=p;}",
  common + colors + "flat in int kind;flat in float state;out vec4 color;\n" +
  "void main(){color=vec4(ramp[clamp(kind,0,8)],1.0);}");

// What is under the pointer: the number of a face or of a point as a colour.
var pickFaceProgram = program(places + "layout(location=4) in float face;flat out float of_face;\n" +
  "void main(){gl_Position=seen(position());of_face=face;}",
  common + "flat in float of_face;out vec4 color;void main(){int n=int(of_face+0.5);\n" +
  "color=vec4(float(n&255),float((n>>8)&255),float((n>>16)&255),1.0)/255.0;}");
var pickPointProgram = program(places + moved + "flat out int number;\n" +
  "void main(){kind=0;state=tags.y;number=gl_VertexID;vec4 p=is_hidden()?vec4(2.0,2.0,2.0,1.0):seen_tip();\n" +
  "gl_Position=p;gl_PointSize=1.0;}",
  common + "flat in int number;uniform float group;out vec4 color;void main(){\n" +
  "color=vec4(float(number&255),float((number>>8)&255),float((number>>16)&255),2.0+group)/255.0;}");

function program(vertex, fragment) { // made at its first use
  var made = null, places = {};
  return {
    use: function () {
      if (!made) made = linked(vertex, fragment);
      gl.useProgram(made);
    },
    at: function (name) {
      if (!(name in places)) places[name] = gl.getUniformLocation(made, name);
      return places[name];
    }
  };
}

function linked(vertex, fragment) {
  var made = gl.createProgram();
  [[gl.VERTEX_SHADER, vertex], [gl.FRAGMENT_SHADER, fragment]].forEach(function (part) {
    var shader = gl.createShader(part[0]);
    gl.shaderSource(shader, part[1]);
    gl.compileShader(shader);
    gl.attachShader(made, shader);
  });
  gl.linkProgram(made);
  if (!gl.getProgramParameter(made, gl.LINK_STATUS))
    throw new Error(gl.getAttachedShaders(made).map(gl.getShaderInfoLog, gl) + gl.getProgramInfoLog(made));
  return made;
}

// ---- buffers

function bufferOf(target, data) {
  var buffer = gl.createBuffer();
  gl.bindBuffer(target, buffer);
  gl.bufferData(target, data, gl.STATIC_DRAW);
  return buffer;
}

// Each n-th record from the first one on.
function records(buffer, n, first, divisor) {
  gl.bindBuffer(gl.ARRAY_BUFFER, buffer);
  [[3, gl.UNSIGNED_SHORT, true, 0], [2, gl.BYTE, true, 6], [1, gl.HALF_FLOAT, false, 8],
   [2, gl.UNSIGNED_BYTE, false, 10]].forEach(function (form, place) {
    gl.enableVertexAttribArray(place);
    gl.vertexAttribPointer(place, form[0], form[1], form[2], record * n, record * first + form[3]);
    gl.vertexAttribDivisor(place, divisor);
  });
}

function arrayOf(setup) {
  var array = gl.createVertexArray();
  gl.bindVertexArray(array);
  setup();
  gl.bindVertexArray(null);
  return array;
}

var mesh = (function () {
  var bytes = decoded(takenText("view-mesh")), vertices = 0, triangles = 0;
  head.faces.forEach(function (face) { vertices += face.vertices; triangles += face.triangles; });
  var corners = numbersOf(bytes, record * vertices, 3 * triangles);
  var ends = numbersOf(bytes, corners.end, 2 * head.edges).numbers;
  var faceOf = new Float32Array(vertices), at = 0, first = 0;
  head.faces.forEach(function (face, n) {
    faceOf.fill(n, at, at += face.vertices);
    face.first = first;
    first += 3 * face.triangles;
  });
  var buffer = bufferOf(gl.ARRAY_BUFFER, bytes.subarray(0, record * vertices));
  function array(indices) {
    return arrayOf(function () {
      records(buffer, 1, 0, 0);
      bufferOf(gl.ARRAY_BUFFER, faceOf);
      gl.enableVertexAttribArray(4);
      gl.vertexAttribPointer(4, 1, gl.FLOAT, false, 4, 0);
      bufferOf(gl.ELEMENT_ARRAY_BUFFER, indices);
    });
  }
  return {cube: head.mesh, faces: array(corners.numbers), corners: 3 * triangles,
          edges: array(ends), ends: ends.length, bytes: bytes};
})();

var groups = ["within", "out", "unassigned"].map(function (name) {
  return {name: name, cube: head[name], count: 0, parts: 1, arrays: []};
});
var within = groups[0], out = groups[1];
var mostParts = 0; // 0: the points are still being read

// Slices of the points' text become bytes one at a time, so that the page stays at hand.
function takePoints() {
  var slice = 1 << 20, texts = groups.map(function (group) { return takenText("view-" + group.name); });
  groups.forEach(function (group, n) {
    var text = texts[n], padding = /=*$/.exec(text.slice(-2))[0].length;
    group.bytes = new Uint8Array(text.length / 4 * 3 - padding);
    group.count = group.bytes.length / record;
  });
  (function take(n, from) {
    if (n === groups.length) { showPoints(); return; }
    var text = texts[n], to = from + slice;
    groups[n].bytes.set(decoded(text.slice(from, to)), from / 4 * 3);
    if (to < text.length) setTimeout(take, 0, n, to);
    else take(n + 1, 0);
  })(0, 0);
}

function showPoints() {
  groups.forEach(function (group) {
    var buffer = bufferOf(gl.ARRAY_BUFFER, group.bytes);
    group.parts = group.count > 50000 ? 20 : 1; // a stride has 255 bytes at most
    group.arrays = [0, 1].map(function (divisor) {
      return {array: gl.createVertexArray(), set: function (n, first) {
        gl.bindVertexArray(this.array);
        records(buffer, n, first, divisor);
      }};
    });
    mostParts = Math.max(mostParts, group.parts);
  });
  next();
}

// ---- the camera: parallel projection, the z axis upwards

var start = {yaw: 40, pitch: 28};
var named = {front: [0, 0], right: [90, 0], back: [180, 0], left: [-90, 0], top: [0, 90], bottom: [0, -90],
             space: [start.yaw, start.pitch]};
var camera = {yaw: start.yaw, pitch: start.pitch, zoom: 1, x: 0, y: 0};
var show = {points: true, out: false, glass: false, strength: 1};
show.whiskers = figure.querySelector("[data-show=whiskers]").getAttribute("aria-pressed") === "true";
var chosen = -1, hovered = -1, ratio = 1;
var waiting = 0, drawn = 0, pace = 1; // drawn: parts of the points; pace: parts a frame

function axes() { // right, up and towards the reader, as rows
  var yaw = camera.yaw * Math.PI / 180, pitch = camera.pitch * Math.PI / 180;
  var cy = Math.cos(yaw), sy = Math.sin(yaw), cp = Math.cos(pitch), sp = Math.sin(pitch);
  return [[cy, sy, 0], [-sy * sp, cy * sp, cp], [sy * cp, -cy * cp, sp]];
}

// The half extents of the part as seen, for a zoom of 1.
function fitted() {
  var rows = axes(), half = [0, 0];
  for (var k = 0; k < 2; ++k)
    for (var i = 0; i < 3; ++i) half[k] += Math.abs(rows[k][i]) * 0.5 * head.box[i];
  var aspect = canvas.clientWidth / Math.max(canvas.clientHeight, 1);
  return 1.12 * Math.max(half[1], half[0] / aspect, 1e-9 * head.size);
}
var reach = 0; // half the height of the picture in units of the part, at a zoom of 1

function halfHeight() { return reach / camera.zoom; }

// ---- drawing

function rgb(text) {
  var parts = /(\d+)\D+(\d+)\D+(\d+)/.exec(text);
  return parts ? [parts[1] / 255, parts[2] / 255, parts[3] / 255] : [0.5, 0.5, 0.5];
}
var palette = {};
function readColors() { // as the page shows them now, light or dark
  var swatches = [].slice.call(figure.querySelectorAll(".swatches rect")).map(function (rect) {
    return rgb(getComputedStyle(rect).fill);
  });
  palette.ramp = [].concat.apply([], swatches.slice(0, 9));
  palette.bare = swatches[9];
  palette.ink = swatches[10];
  palette.ground = rgb(getComputedStyle(document.body).backgroundColor);
  palette.accent = [0.98, 0.8, 0.2];
}

function use(p, cube) {
  var rows = axes(), half = halfHeight(), aspect = canvas.width / canvas.height;
  p.use();
  gl.uniform4f(p.at("cube"), cube.low[0], cube.low[1], cube.low[2], cube.side);
  gl.uniformMatrix3fv(p.at("turn"), false, [rows[0][0], rows[1][0], rows[2][0], rows[0][1],
    rows[1][1], rows[2][1], rows[0][2], rows[1][2], rows[2][2]]);
  gl.uniform2f(p.at("pan"), camera.x, camera.y);
  gl.uniform3f(p.at("scale"), 1 / (half * aspect), 1 / half, 0.5 / Math.max(head.size, 1e-30));
  gl.uniform1f(p.at("unit"), head.unit);
  gl.uniform1f(p.at("magnification"), head.magnification * show.strength);
  gl.uniform1f(p.at("longest"), head.longest * Math.max(show.strength, 1e-6));
  gl.uniform1f(p.at("glass"), show.glass ? 1 : 0);
  gl.uniform3fv(p.at("ramp"), palette.ramp);
  gl.uniform3fv(p.at("ground"), palette.ground);
  gl.uniform3fv(p.at("ink"), palette.ink);
  gl.uniform3fv(p.at("bare"), palette.bare);
  return p;
}

function sizes() {
  var many = within.count, wide = Math.max(0.6, Math.min(1, canvas.clientWidth / 800));
  var close = wide * Math.min(2, Math.max(1, Math.sqrt(camera.zoom)));
  return [(many < 3000 ? 6 : many < 30000 ? 3.4 : 2.4) * ratio * close,
          (out.count < 3000 ? 13 : out.count < 30000 ? 9 : 6) * ratio * close];
}

function drawMesh() {
  var p = use(meshProgram, mesh.cube);
  gl.uniform2f(p.at("limits"), head.limits[0], head.limits[1]);
  gl.uniform1f(p.at("judged"), head.judged ? 1 : 0);
  gl.uniform1f(p.at("dot_size"), ratio);
  gl.uniform1f(p.at("chosen"), hovered >= 0 ? hovered : chosen);
  gl.uniform1f(p.at("opacity"), show.glass ? 0.3 : 1);
  gl.uniform3fv(p.at("accent"), palette.accent);
  gl.bindVertexArray(mesh.faces);
  gl.depthMask(!show.glass);
  if (!show.glass) gl.disable(gl.BLEND);
  gl.drawElements(gl.TRIANGLES, mesh.corners, gl.UNSIGNED_INT, 0);
  gl.enable(gl.BLEND);
  gl.depthMask(true);
}

function drawEdges() {
  var p = use(edgeProgram, mesh.cube);
  gl.uniform4f(p.at("paint"), palette.ink[0], palette.ink[1], palette.ink[2], 0.6);
  gl.bindVertexArray(mesh.edges);
  gl.drawElements(gl.LINES, mesh.ends, gl.UNSIGNED_INT, 0);
}

// One of the group's parts: its whiskers, then the points.
function drawPart(group, part) {
  var count = Math.ceil((group.count - part) / group.parts), size = sizes(), p;
  if (count <= 0) return;
  if (show.strength > 0 && (group === out || group === within && show.whiskers)) {
    p = use(whiskerProgram, group.cube);
    gl.uniform2f(p.at("pixel"), 2 / canvas.width, 2 / canvas.height);
    gl.uniform1f(p.at("width"), (group.count < 30000 ? 1.5 : 1) * ratio);
    group.arrays[1].set(group.parts, part);
    gl.drawArraysInstanced(gl.TRIANGLE_STRIP, 0, 4, count);
  }
  p = use(pointProgram, group.cube);
  gl.uniform2f(p.at("sizes"), size[0], size[1]);
  group.arrays[0].set(group.parts, part);
  gl.drawArrays(gl.POINTS, 0, count);
}

function drawParts(from, to) {
  if (!show.points) return;
  groups.forEach(function (group) {
    if (group === within && show.out) return;
    gl.depthMask(group === out); // in parts, they stay above the others
    for (var part = from; part < Math.min(to, group.parts); ++part) drawPart(group, part);
    gl.depthMask(true);
    if (group === within) drawEdges();
  });
  gl.bindVertexArray(null);
}

function prepare() {
  gl.viewport(0, 0, canvas.width, canvas.height);
  gl.enable(gl.DEPTH_TEST);
  gl.depthFunc(gl.LEQUAL);
  gl.enable(gl.BLEND);
  gl.blendFunc(gl.ONE, gl.ONE_MINUS_SRC_ALPHA);
}

// How near the part is at each pixel, by which points are seen or not.
var front = {texture: gl.createTexture(), frame: gl.createFramebuffer(), width: 0, height: 0};
function drawFront() {
  gl.bindTexture(gl.TEXTURE_2D, front.texture);
  gl.bindFramebuffer(gl.FRAMEBUFFER, front.frame);
  if (front.width !== canvas.width || front.height !== canvas.height) {
    front.width = canvas.width;
    front.height = canvas.height;
    gl.texImage2D(gl.TEXTURE_2D, 0, gl.DEPTH_COMPONENT24, front.width, front.height, 0,
                  gl.DEPTH_COMPONENT, gl.UNSIGNED_INT, null);
    [gl.TEXTURE_MIN_FILTER, gl.TEXTURE_MAG_FILTER].forEach(function (filter) {
      gl.texParameteri(gl.TEXTURE_2D, filter, gl.NEAREST);
    });
    [gl.TEXTURE_WRAP_S, gl.TEXTURE_WRAP_T].forEach(function (wrap) {
      gl.texParameteri(gl.TEXTURE_2D, wrap, gl.CLAMP_TO_EDGE);
    });
    gl.framebufferTexture2D(gl.FRAMEBUFFER, gl.DEPTH_ATTACHMENT, gl.TEXTURE_2D, front.texture, 0);
    gl.drawBuffers([gl.NONE]);
  }
  gl.bindTexture(gl.TEXTURE_2D, null); // it is drawn to
  gl.clear(gl.DEPTH_BUFFER_BIT);
  use(pickFaceProgram, mesh.cube);
  gl.bindVertexArray(mesh.faces);
  gl.drawElements(gl.TRIANGLES, mesh.corners, gl.UNSIGNED_INT, 0);
  gl.bindFramebuffer(gl.FRAMEBUFFER, null);
  gl.bindTexture(gl.TEXTURE_2D, front.texture);
}

function begin() { // a new picture: the part
  ratio = Math.min(window.devicePixelRatio || 1, 2);
  var width = Math.round(canvas.clientWidth * ratio), height = Math.round(canvas.clientHeight * ratio);
  if (!width || !height) return false;
  if (canvas.width !== width || canvas.height !== height) { canvas.width = width; canvas.height = height; }
  if (!reach) reach = fitted();
  prepare();
  gl.clearColor(0, 0, 0, 0);
  gl.clear(gl.COLOR_BUFFER_BIT | gl.DEPTH_BUFFER_BIT);
  drawMesh();
  drawEdges();
  drawAxes();
  figure.setAttribute("data-camera", Math.round(camera.yaw) + " " + Math.round(camera.pitch) + " " +
                                     camera.zoom.toFixed(3));
  return true;
}

var stale = true, hasFront = false, lastFrame = 0;
function frameDue(now) {
  waiting = 0;
  var took = now - lastFrame;
  lastFrame = now;
  if (drawn > 0 && mostParts > 1) {
    if (took < 30) pace = Math.min(mostParts, 2 * pace);
    else if (took > 90) pace = Math.max(1, pace / 2);
  }
  if (stale) {
    if (!begin()) return;
    stale = hasFront = false;
    drawn = 0;
  } else {
    prepare();
  }
  if (mostParts && drawn === 0 && !hasFront) {
    drawFront();
    hasFront = true;
    if (mostParts > 1) { next(); return; } // the first part comes with the next frame
  }
  drawParts(drawn, drawn + pace);
  drawn += mostParts && pace;
  figure.setAttribute("data-drawn", (mostParts && Math.min(1, drawn / mostParts)).toFixed(2));
  if (drawn < mostParts && show.points) next();
}
function next() { if (!waiting) waiting = requestAnimationFrame(frameDue); }
function redraw() { stale = true; next(); }

function drawAxes() {
  var rows = axes(), lines = figure.querySelectorAll(".axes line"), texts = figure.querySelectorAll(".axes text");
  for (var i = 0; i < 3; ++i) {
    var x = 40 + 26 * rows[0][i], y = 40 - 26 * rows[1][i];
    lines[i].setAttribute("x2", x);
    lines[i].setAttribute("y2", y);
    texts[i].setAttribute("x", 40 + 34 * rows[0][i]);
    texts[i].setAttribute("y", 44 - 34 * rows[1][i]);
    lines[i].style.opacity = texts[i].style.opacity = rows[2][i] < -0.6 ? 0.35 : 1;
  }
}

// ---- what is under a place of the canvas

var aim = 9; // pixels on a side
var frame = (function () {
  var texture = gl.createTexture(), depth = gl.createRenderbuffer(), made = gl.createFramebuffer();
  gl.bindTexture(gl.TEXTURE_2D, texture);
  gl.texImage2D(gl.TEXTURE_2D, 0, gl.RGBA, aim, aim, 0, gl.RGBA, gl.UNSIGNED_BYTE, null);
  gl.bindRenderbuffer(gl.RENDERBUFFER, depth);
  gl.renderbufferStorage(gl.RENDERBUFFER, gl.DEPTH_COMPONENT16, aim, aim);
  gl.bindFramebuffer(gl.FRAMEBUFFER, made);
  gl.framebufferTexture2D(gl.FRAMEBUFFER, gl.COLOR_ATTACHMENT0, gl.TEXTURE_2D, texture, 0);
  gl.framebufferRenderbuffer(gl.FRAMEBUFFER, gl.DEPTH_ATTACHMENT, gl.RENDERBUFFER, depth);
  gl.bindFramebuffer(gl.FRAMEBUFFER, null);
  return made;
})();

function under(x, y) { // CSS pixels; {face} or {group, point} or null
  var half = (aim - 1) / 2, px = Math.floor(x * ratio), py = canvas.height - 1 - Math.floor(y * ratio);
  gl.bindFramebuffer(gl.FRAMEBUFFER, frame);
  gl.viewport(half - px, half - py, canvas.width, canvas.height);
  gl.disable(gl.BLEND);
  gl.clearColor(0, 0, 0, 0);
  gl.clear(gl.COLOR_BUFFER_BIT | gl.DEPTH_BUFFER_BIT);
  use(pickFaceProgram, mesh.cube);
  gl.bindVertexArray(mesh.faces);
  gl.drawElements(gl.TRIANGLES, mesh.corners, gl.UNSIGNED_INT, 0);
  groups.forEach(function (group, n) {
    // Where they are drawn in parts, a machine that is not quick enough names the faces alone.
    if (!show.points || !group.count || group === within && show.out || group.parts > pace) return;
    var p = use(pickPointProgram, group.cube);
    gl.uniform1f(p.at("group"), n);
    group.arrays[0].set(1, 0);
    gl.drawArrays(gl.POINTS, 0, group.count);
  });
  gl.bindVertexArray(null);
  var pixels = new Uint8Array(4 * aim * aim), best = null, nearest = Infinity;
  gl.readPixels(0, 0, aim, aim, gl.RGBA, gl.UNSIGNED_BYTE, pixels);
  gl.bindFramebuffer(gl.FRAMEBUFFER, null);
  for (var j = 0; j < aim; ++j)
    for (var i = 0; i < aim; ++i) {
      var at = 4 * (j * aim + i), kind = pixels[at + 3];
      var number = pixels[at] + 256 * pixels[at + 1] + 65536 * pixels[at + 2];
      var distance = (i - half) * (i - half) + (j - half) * (j - half);
      if (kind === 1 && distance === 0 && nearest === Infinity) best = {face: number};
      if (kind > 1 && distance < nearest) { nearest = distance; best = {group: kind - 2, point: number}; }
    }
  return best;
}

function faceOfPoint(group, point) {
  for (var n = 0; n < head.faces.length; ++n) {
    var count = group === out ? head.faces[n].out : head.faces[n].points - head.faces[n].out;
    if (point < count) return n;
    point -= count;
  }
  return -1;
}

function signed(value) { return (value > 0 ? "+" : "") + value.toFixed(head.decimals); }

function wordsOf(found) {
  var text = "", face = found.face;
  if (found.point !== undefined) {
    var group = groups[found.group], at = record * found.point, bytes = group.bytes;
    if (group.name === "unassigned") return "assigned to no face";
    text = signed(halfOf(bytes[at + 8] | bytes[at + 9] << 8) * head.unit) +
           ["", "", ", in tolerance", ", above the upper limit", ", below the lower limit"][bytes[at + 11]] +
           " \u00b7 ";
    face = faceOfPoint(group, found.point);
  }
  var of = head.faces[face];
  return text + of.path + " (" + of.kind + ")" + (found.point !== undefined ? "" : ": " + of.points + " points" +
         (head.judged ? ", " + of.out + " out of tolerance" : ""));
}

var status = figure.querySelector(".picked");
function tell(text) {
  status.textContent = "";
  if (!text) return;
  var box = document.createElement("span");
  box.textContent = text;
  status.appendChild(box);
}

function choose(face) {
  chosen = face;
  hovered = -1;
  tell(face < 0 ? "" : wordsOf({face: face}));
  redraw();
}

// ---- hands: mouse, touch, pen, keys, buttons

var fingers = {}, pressed = null, asked = 0;

function place(event) {
  var box = canvas.getBoundingClientRect();
  return [event.clientX - box.left, event.clientY - box.top];
}
function unitsPerPixel() { return 2 * halfHeight() / canvas.clientHeight; }

function rotate(dx, dy) {
  camera.yaw -= dx * 0.45;
  camera.pitch = Math.max(-90, Math.min(90, camera.pitch + dy * 0.45));
  camera.yaw = (camera.yaw + 540) % 360 - 180;
}
function move(dx, dy) {
  camera.x -= dx * unitsPerPixel();
  camera.y += dy * unitsPerPixel();
}
function zoom(factor, x, y) { // what is at x, y stays there
  var dx = (x - canvas.clientWidth / 2) * unitsPerPixel(), dy = (canvas.clientHeight / 2 - y) * unitsPerPixel();
  var was = camera.zoom;
  camera.zoom = Math.max(0.2, Math.min(400, camera.zoom * factor));
  camera.x += dx * (1 - was / camera.zoom);
  camera.y += dy * (1 - was / camera.zoom);
}
function middle(ends) { return [(ends[0][0] + ends[1][0]) / 2, (ends[0][1] + ends[1][1]) / 2]; }
function span(ends) { return Math.hypot(ends[0][0] - ends[1][0], ends[0][1] - ends[1][1]); }
function ends() { return Object.keys(fingers).map(function (id) { return fingers[id]; }); }

canvas.addEventListener("pointerdown", function (event) {
  canvas.setPointerCapture(event.pointerId);
  fingers[event.pointerId] = place(event);
  pressed = {at: place(event), moved: false, pan: event.button > 0 || event.shiftKey};
  canvas.classList.add("turning");
});
canvas.addEventListener("pointermove", function (event) {
  var now = place(event), was = fingers[event.pointerId];
  if (!was) { hover(now); return; }
  if (ends().length === 2) {
    var before = ends();
    fingers[event.pointerId] = now;
    var after = ends(), at = middle(after);
    move(at[0] - middle(before)[0], at[1] - middle(before)[1]);
    zoom(span(after) / Math.max(span(before), 1), at[0], at[1]);
    pressed.moved = true;
  } else {
    fingers[event.pointerId] = now;
    if (Math.hypot(now[0] - pressed.at[0], now[1] - pressed.at[1]) > 4) pressed.moved = true;
    if (pressed.moved) (pressed.pan ? move : rotate)(now[0] - was[0], now[1] - was[1]);
  }
  if (pressed.moved) { hovered = -1; redraw(); }
});
function released(event) {
  if (!fingers[event.pointerId]) return;
  delete fingers[event.pointerId];
  if (!ends().length) canvas.classList.remove("turning");
  if (event.type === "pointerup" && !pressed.moved) {
    var found = under(pressed.at[0], pressed.at[1]);
    if (found && found.point !== undefined) { choose(faceOfPoint(groups[found.group], found.point)); tell(wordsOf(found)); }
    else choose(found ? found.face : -1);
  }
  redraw();
}
canvas.addEventListener("pointerup", released);
canvas.addEventListener("pointercancel", released);
canvas.addEventListener("contextmenu", function (event) { event.preventDefault(); });
canvas.addEventListener("dblclick", function () { reach = 0; goTo("space"); });

function hover(at) {
  if (asked) { asked.at = at; return; }
  asked = {at: at};
  requestAnimationFrame(function () {
    var found = under(asked.at[0], asked.at[1]);
    asked = 0;
    var face = found && found.face !== undefined ? found.face : -1;
    if (found) tell(wordsOf(found));
    else tell(chosen < 0 ? "" : wordsOf({face: chosen}));
    if (face !== hovered) { hovered = face; redraw(); }
  });
}
canvas.addEventListener("pointerleave", function () {
  hovered = -1;
  tell(chosen < 0 ? "" : wordsOf({face: chosen}));
  redraw();
});
// The wheel scrolls the page until the view has been clicked.
canvas.addEventListener("wheel", function (event) {
  if (!event.ctrlKey && document.activeElement !== canvas) return;
  event.preventDefault();
  var at = place(event), step = event.deltaMode === 1 ? event.deltaY * 20 : event.deltaY;
  zoom(Math.pow(2, -Math.max(-200, Math.min(200, step)) / (event.ctrlKey ? 100 : 300)), at[0], at[1]);
  redraw();
}, {passive: false});

var keys = {
  ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1]
};
canvas.addEventListener("keydown", function (event) {
  if (event.ctrlKey || event.altKey || event.metaKey) return;
  var step = keys[event.key], names = ["space", "front", "right", "back", "left", "top", "bottom"];
  if (step) (event.shiftKey ? move : rotate)(step[0] * 20, step[1] * 20);
  else if (event.key === "+" || event.key === "=") zoom(1.25, canvas.clientWidth / 2, canvas.clientHeight / 2);
  else if (event.key === "-") zoom(0.8, canvas.clientWidth / 2, canvas.clientHeight / 2);
  else if (event.key === "Home") goTo("space");
  else if (/^[0-6]$/.test(event.key)) goTo(names[event.key]);
  else if (event.key === "n") choose((chosen + 1) % head.faces.length);
  else if (event.key === "p") choose((Math.max(chosen, 0) + head.faces.length - 1) % head.faces.length);
  else if (event.key === "Escape") choose(-1);
  else return;
  event.preventDefault();
  redraw();
});

var moving = 0;
function goTo(name) {
  var to = {yaw: named[name][0], pitch: named[name][1], zoom: 1, x: 0, y: 0}, from = {}, key;
  for (key in to) from[key] = camera[key];
  while (to.yaw - from.yaw > 180) from.yaw += 360;
  while (to.yaw - from.yaw < -180) from.yaw -= 360;
  var kept = [camera.yaw, camera.pitch], old = reach;
  camera.yaw = to.yaw; camera.pitch = to.pitch;
  var next = fitted();
  camera.yaw = kept[0]; camera.pitch = kept[1];
  var steps = window.matchMedia("(prefers-reduced-motion:reduce)").matches ? 1 : 14, step = 0;
  cancelAnimationFrame(moving);
  (function turn() {
    var part = ++step / steps;
    part = part * part * (3 - 2 * part);
    for (key in to) camera[key] = from[key] + part * (to[key] - from[key]);
    reach = old ? old + part * (next - old) : next;
    if (step < steps) moving = requestAnimationFrame(turn);
    else if (camera.yaw > 180) camera.yaw -= 360;
    redraw();
  })();
}

[].slice.call(figure.querySelectorAll("button[data-view]")).forEach(function (button) {
  button.onclick = function () { goTo(button.getAttribute("data-view")); };
});
[].slice.call(figure.querySelectorAll("button[data-show]")).forEach(function (button) {
  var name = button.getAttribute("data-show");
  button.onclick = function () {
    show[name] = !show[name];
    button.setAttribute("aria-pressed", String(show[name]));
    redraw();
  };
});
figure.querySelector("select").onchange = function () { show.strength = Number(this.value); redraw(); };

// The faces of the table lead to the view.
[].slice.call(document.querySelectorAll("tbody th")).forEach(function (cell) {
  cell.addEventListener("click", function () {
    for (var n = 0; n < head.faces.length; ++n)
      if (head.faces[n].path === cell.textContent) choose(n);
  });
});

// ---- start

canvas.addEventListener("webglcontextlost", function () {
  figure.classList.remove("live");
  stage.hidden = true;
});
function recolor() { readColors(); redraw(); }
window.matchMedia("(prefers-color-scheme:dark)").addEventListener("change", recolor);
if (window.ResizeObserver)
  new ResizeObserver(function () {
    if (canvas.width === Math.round(canvas.clientWidth * ratio) && canvas.height === Math.round(canvas.clientHeight * ratio)) return;
    if (camera.zoom === 1 && camera.x === 0) reach = 0;
    redraw();
  }).observe(canvas);
figure.classList.add("live");
stage.hidden = false;
readColors();
frameDue(performance.now()); // not with the next frame: it waits for the tables
if (document.readyState === "loading") document.addEventListener("DOMContentLoaded", takePoints);
else takePoints();
figure.setAttribute("data-ready", String(Math.round(performance.now() - began)));
})();
