// The page of zq_view: the arm drawn from the frames that the server streams.
// The server computes everything (chain frames, capsules, clearances); the
// page only draws what arrives and never sends anything to the arm.
import * as THREE from 'three';
import { OrbitControls } from 'three/examples/jsm/controls/OrbitControls.js';

const CONTACT = 1e-5;   // as the collision check counts contact, metres
const NEAR = 0.05;      // closer than this shades towards red
const TRAIL_SECONDS = 5;

const state = { frames: 0, last: null, model: null, red: 0, rate: 0 };
window.zqView = state;  // read by the browser tests

// ---- the 3D scene, z up as the arm's base frame --------------------------------------
const host = document.getElementById('scene');
let renderer;
try {
  renderer = new THREE.WebGLRenderer({ antialias: true, preserveDrawingBuffer: true });
} catch (e) {  // no WebGL here: the readout alone
  renderer = { domElement: document.createElement('div'), setPixelRatio() {}, setSize() {}, setClearColor() {},
               render() {} };
  document.getElementById('help').textContent = 'this browser has no WebGL: readout only';
}
renderer.setPixelRatio(window.devicePixelRatio);
renderer.setSize(window.innerWidth, window.innerHeight);
renderer.setClearColor(0x15181d);
host.appendChild(renderer.domElement);

const scene = new THREE.Scene();
const camera = new THREE.PerspectiveCamera(45, window.innerWidth / window.innerHeight, 0.01, 50);
camera.up.set(0, 0, 1);
camera.position.set(1.0, -1.0, 0.75);
const controls = new OrbitControls(camera, renderer.domElement);
controls.target.set(0, 0, 0.35);
controls.update();

scene.add(new THREE.HemisphereLight(0xdde6f0, 0x202428, 1.6));
const sun = new THREE.DirectionalLight(0xffffff, 1.4);
sun.position.set(2, -1, 3);
scene.add(sun);
const grid = new THREE.GridHelper(2, 20, 0x3a414b, 0x262b33);
grid.rotation.x = Math.PI / 2;
scene.add(grid);

function axes(size) {
  const a = new THREE.AxesHelper(size);
  a.matrixAutoUpdate = false;
  scene.add(a);
  return a;
}
const baseAxes = axes(0.15);
const flangeAxes = axes(0.08);
const toolAxes = axes(0.06);

function setMatrix(obj, rowMajor) {
  const m = new THREE.Matrix4();
  m.set(...rowMajor);
  obj.matrix.copy(m);
  obj.matrixWorldNeedsUpdate = true;
}

// The chain: a thin rod between successive frame origins, a small ball at each joint.
const rods = [];
const rodMat = new THREE.MeshStandardMaterial({ color: 0xc9d1d9, roughness: 0.4 });
function drawRod(i, a, b) {
  if (!rods[i]) {
    rods[i] = new THREE.Mesh(new THREE.CylinderGeometry(0.007, 0.007, 1, 12), rodMat);
    scene.add(rods[i]);
  }
  const len = a.distanceTo(b);
  rods[i].visible = len > 1e-6;
  if (!rods[i].visible) return;
  rods[i].scale.set(1, len, 1);
  rods[i].position.copy(a).add(b).multiplyScalar(0.5);
  rods[i].quaternion.setFromUnitVectors(new THREE.Vector3(0, 1, 0), b.clone().sub(a).normalize());
}
const jointBalls = [];
const ballGeom = new THREE.SphereGeometry(0.012, 16, 12);
const ballMat = new THREE.MeshStandardMaterial({ color: 0xc9d1d9 });

// Capsules of the collision model, and tool spheres.
const capsules = [];
const up = new THREE.Vector3(0, 1, 0);
function capsuleColour(clear) {
  if (clear < CONTACT) return new THREE.Color(0xff2a1f);
  const t = Math.min(1, clear / NEAR);
  return new THREE.Color(0xff8c1a).lerp(new THREE.Color(0x3fb950), t);
}
function drawCapsule(i, c) {
  let e = capsules[i];
  const a = new THREE.Vector3(...c.a), b = new THREE.Vector3(...c.b);
  const len = a.distanceTo(b);
  if (!e) {
    e = { mesh: new THREE.Mesh(undefined, new THREE.MeshStandardMaterial({ transparent: true, roughness: 0.6 })),
          len: -1, r: -1 };
    scene.add(e.mesh);
    capsules[i] = e;
  }
  if (Math.abs(e.len - len) > 1e-4 || Math.abs(e.r - c.r) > 1e-5) {
    if (e.mesh.geometry) e.mesh.geometry.dispose();
    e.mesh.geometry = c.kind === 'sphere' ? new THREE.SphereGeometry(c.r, 24, 16)
                                          : new THREE.CapsuleGeometry(c.r, len, 8, 20);
    e.len = len;
    e.r = c.r;
  }
  e.mesh.position.copy(a).add(b).multiplyScalar(0.5);
  if (len > 1e-9) e.mesh.quaternion.setFromUnitVectors(up, b.clone().sub(a).normalize());
  const hit = c.clear < CONTACT;
  const colour = capsuleColour(c.clear);
  e.mesh.material.color.copy(colour);
  e.mesh.material.emissive.copy(colour).multiplyScalar(hit ? 0.6 : 0.3);
  e.mesh.material.opacity = hit ? 0.92 : 0.45;
  e.mesh.material.depthWrite = hit;
  e.mesh.visible = true;
  e.contact = hit;
}

// The flange's path over the last seconds.
const TRAIL_MAX = 2048;  // points kept at most, beyond TRAIL_SECONDS of reports at 400 a second
const trailPoints = [];
const trailGeom = new THREE.BufferGeometry();
const trailXYZ = new THREE.BufferAttribute(new Float32Array(TRAIL_MAX * 3), 3);
trailXYZ.setUsage(THREE.DynamicDrawUsage);
trailGeom.setAttribute('position', trailXYZ);
trailGeom.setDrawRange(0, 0);
const trail = new THREE.Line(trailGeom, new THREE.LineBasicMaterial({ color: 0x58a6ff }));
trail.frustumCulled = false;
scene.add(trail);

// ---- the readout ------------------------------------------------------------------------
const $ = (id) => document.getElementById(id);
const fmt = (v, d = 2) => (Number.isFinite(v) ? v.toFixed(d) : '-');

function buildReadout(model) {
  $('title').textContent = `${model.family || 'arm'} · ${model.dof} joints`;
  const rows = [];
  for (let j = 0; j < model.dof; ++j)
    rows.push(`<tr><td>J${j + 1}</td><td class="v" id="joint-${j + 1}">-</td>` +
              `<td><div class="bar"><i id="bar-${j + 1}"></i></div></td></tr>`);
  $('joints').innerHTML = rows.join('');
  $('flange').innerHTML = ['x', 'y', 'z', 'rx', 'ry', 'rz']
    .map((k) => `<tr><td>${k}</td><td class="v" id="pose-${k}">-</td></tr>`).join('');
}

function showReadout(f) {
  const m = state.model;
  f.q.forEach((v, j) => {
    const cell = $(`joint-${j + 1}`);
    if (!cell) return;
    cell.textContent = fmt(v);
    const lo = m.joint_min[j], hi = m.joint_max[j];
    $(`bar-${j + 1}`).style.left = `${hi > lo ? Math.max(0, Math.min(1, (v - lo) / (hi - lo))) * 87 : 0}px`;
  });
  for (const k of ['x', 'y', 'z']) $(`pose-${k}`).textContent = fmt(f.flange[k] * 1000, 1);
  for (const k of ['rx', 'ry', 'rz']) $(`pose-${k}`).textContent = fmt(f.flange[k] * 180 / Math.PI, 1);
  $('status').textContent = f.status >= 0 ? f.status_name : 'not reported';
  $('source').textContent = f.source === 'realtime' ? 'realtime reports' : 'state queries';
  const errs = f.err.filter((e) => e !== 0);
  $('errors').textContent = errs.length ? errs.map((e) => '0x' + e.toString(16)).join(' ') : 'none';
  $('errors').className = errs.length ? 'bad' : '';
  const c = $('contact');
  if (!f.capsules) {
    c.textContent = 'no capsule model for this arm';
    c.className = '';
  } else {
    c.textContent = f.contact ? `in contact (${fmt(f.clearance * 1000, 1)} mm)`
                              : `clearance ${fmt(f.clearance * 1000, 1)} mm`;
    c.className = f.contact ? 'hit' : '';
  }
}

// ---- one frame --------------------------------------------------------------------------
function draw(f) {
  setMatrix(baseAxes, f.frames[0]);
  setMatrix(flangeAxes, f.frames[f.frames.length - 1]);
  setMatrix(toolAxes, f.tool);
  const origins = f.frames.map((m) => new THREE.Vector3(m[3], m[7], m[11]));
  for (let i = 1; i < origins.length; ++i) drawRod(i - 1, origins[i - 1], origins[i]);
  origins.forEach((p, i) => {
    if (!jointBalls[i]) {
      jointBalls[i] = new THREE.Mesh(ballGeom, ballMat);
      scene.add(jointBalls[i]);
    }
    jointBalls[i].position.copy(p);
  });

  const list = f.capsules || [];
  list.forEach((c, i) => drawCapsule(i, c));
  for (let i = list.length; i < capsules.length; ++i) capsules[i].mesh.visible = false;
  state.red = capsules.filter((e, i) => i < list.length && e.contact).length;

  const now = performance.now();
  trailPoints.push({ t: now, p: origins[origins.length - 1] });
  while (trailPoints.length > TRAIL_MAX || (trailPoints.length && now - trailPoints[0].t > TRAIL_SECONDS * 1000))
    trailPoints.shift();
  trailPoints.forEach((e, i) => trailXYZ.setXYZ(i, e.p.x, e.p.y, e.p.z));
  trailXYZ.needsUpdate = true;
  trailGeom.setDrawRange(0, trailPoints.length);
  showReadout(f);
}

// ---- the stream -------------------------------------------------------------------------
let pending = null;
let count = 0;
setInterval(() => {
  state.rate = count;
  $('rate').textContent = count;
  count = 0;
}, 1000);

function connect() {
  const events = new EventSource('events');
  events.onopen = () => { $('link').textContent = 'live'; $('link').className = 'live'; };
  events.onerror = () => {
    $('link').textContent = 'reconnecting';
    $('link').className = 'lost';
    if (events.readyState === EventSource.CLOSED) setTimeout(connect, 1000);  // refused: try again
  };
  events.onmessage = (e) => {
    pending = JSON.parse(e.data);  // the newest wins; drawing happens once per animation frame
    ++count;
  };
}

function animate() {
  requestAnimationFrame(animate);
  if (pending && state.model) {
    const f = pending;
    pending = null;
    draw(f);
    state.last = f;
    ++state.frames;
  }
  controls.update();
  renderer.render(scene, camera);
}

window.addEventListener('resize', () => {
  camera.aspect = window.innerWidth / window.innerHeight;
  camera.updateProjectionMatrix();
  renderer.setSize(window.innerWidth, window.innerHeight);
});

fetch('model.json').then((r) => r.json()).then((model) => {
  state.model = model;
  buildReadout(model);
  connect();
});
animate();
