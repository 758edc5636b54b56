#include "PlayerPage.h"

namespace KorvanDemo {

const char* playerPageHead() {
  return R"HTML(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
)HTML";
}

const char* playerPageBody() {
  return R"HTML(<style>
body { margin: 0; background: #20232a; color: #e8e8e8; font: 14px/1.4 sans-serif; }
header { padding: 10px 16px 4px; }
h1 { font-size: 18px; margin: 0; font-weight: 600; }
.desc { color: #aab2bf; }
#stage { display: block; margin: 6px auto; background: #f6f4ee; border-radius: 4px; }
.bar { display: flex; gap: 12px; align-items: center; padding: 4px 16px; flex-wrap: wrap; }
#slider { flex: 1; min-width: 220px; }
button { min-width: 72px; }
#clock { font-variant-numeric: tabular-nums; min-width: 150px; }
.swatch { display: inline-block; width: 12px; height: 12px; border-radius: 2px;
          margin: 0 4px 0 10px; vertical-align: -1px; border: 1px solid #555; }
#stats { color: #aab2bf; font-variant-numeric: tabular-nums; }
</style>
</head>
<body>
<header><h1 id="title">korvan-demo</h1><div class="desc" id="desc"></div></header>
<canvas id="stage" width="960" height="540"></canvas>
<div class="bar">
  <button id="play" type="button">Pause</button>
  <input id="slider" type="range" min="0" max="0" value="0" step="1" aria-label="time">
  <span id="clock"></span>
  <label>speed <select id="speed">
    <option value="0.25">0.25x</option><option value="0.5">0.5x</option>
    <option value="1" selected>1x</option><option value="2">2x</option>
    <option value="4">4x</option></select></label>
  <label><input type="checkbox" id="showContacts" checked> contacts</label>
  <label><input type="checkbox" id="showJoints" checked> joints</label>
  <label id="marksSwitch" hidden><input type="checkbox" id="showMarks" checked> scene marks</label>
</div>
<div class="bar">
  <span><span class="swatch" style="background:#f2a14a"></span>awake box</span>
  <span><span class="swatch" style="background:#5aa5e6"></span>awake circle</span>
  <span><span class="swatch" style="background:#a7acb4"></span>asleep</span>
  <span><span class="swatch" style="background:#5b6472"></span>static</span>
  <span><span class="swatch" style="background:rgba(80,200,120,0.35)"></span>notifier region</span>
  <span><span class="swatch" style="background:#d9263b"></span>contact point</span>
</div>
<div class="bar" id="stats"></div>
)HTML";
}

const char* playerPageScript() {
  return R"HTML((function () {
  'use strict';
  var rec = JSON.parse(document.getElementById('recording').textContent);
  var frames = rec.frames;
  var canvas = document.getElementById('stage');
  var ctx = canvas.getContext('2d');
  var slider = document.getElementById('slider');
  var playButton = document.getElementById('play');
  var speedBox = document.getElementById('speed');
  var clock = document.getElementById('clock');
  var stats = document.getElementById('stats');
  var showContacts = document.getElementById('showContacts');
  var showJoints = document.getElementById('showJoints');
  var showMarks = document.getElementById('showMarks');
  // The switch for scene marks (rays, probe points) only where a scene made some.
  document.getElementById('marksSwitch').hidden = !frames.some(function (fr) {
    return fr.l || fr.p;
  });

  document.getElementById('title').textContent = 'korvan-demo: ' + rec.scene;
  document.getElementById('desc').textContent = rec.description +
      ' (' + rec.steps + ' steps of ' + rec.dt + ' s; ' + rec.settings + ')';
  slider.max = String(Math.max(0, frames.length - 1));

  var view = rec.view;
  var index = 0;
  var playing = frames.length > 1;
  var simTime = frames.length ? frames[0].t : 0;
  var lastTick = null;
  var scale = 1, offX = 0, offY = 0, pixelRatio = 1;

  function layout() {
    var w = Math.min(window.innerWidth - 24, 1400);
    var vw = view[2] - view[0], vh = view[3] - view[1];
    var h = w * vh / vw;
    var maxH = Math.max(200, window.innerHeight - 170);
    if (h > maxH) { h = maxH; w = h * vw / vh; }
    pixelRatio = window.devicePixelRatio || 1;
    canvas.style.width = Math.round(w) + 'px';
    canvas.style.height = Math.round(h) + 'px';
    canvas.width = Math.round(w * pixelRatio);
    canvas.height = Math.round(h * pixelRatio);
    scale = canvas.width / vw;
    offX = -view[0] * scale;
    offY = -view[1] * scale;
  }

  function toWorld() { ctx.setTransform(scale, 0, 0, scale, offX, offY); }

  function drawGrid() {
    KorvanStage.grid(ctx, scale, view, view[2] - view[0]);
  }

  var kindCodes = { circle: 0, box: 1, segment: 2 };

  // Draws a recorded shape ({kind, r | w, h | x0, y0, x1, y1}) at a placement.
  function drawShape(shape, x, y, a, fill, stroke, radiusLine) {
    var kind = kindCodes[shape.kind];
    if (kind === 0) {
      KorvanStage.shape(ctx, scale, 0, x, y, a, shape.r, 0, 0, 0, fill, stroke, radiusLine);
    } else if (kind === 1) {
      KorvanStage.shape(ctx, scale, 1, x, y, a, shape.w, shape.h, 0, 0, fill, stroke, radiusLine);
    } else if (kind === 2) {
      KorvanStage.shape(ctx, scale, 2, x, y, a, shape.x0, shape.y0, shape.x1, shape.y1, fill,
                        stroke, radiusLine);
    }
  }

  function bodyColours(body, awake) {
    return KorvanStage.bodyColours(kindCodes[body.shape.kind], awake, body.style === 'ghost');
  }

  function draw() {
    ctx.setTransform(1, 0, 0, 1, 0, 0);
    ctx.fillStyle = '#f6f4ee';
    ctx.fillRect(0, 0, canvas.width, canvas.height);
    toWorld();
    drawGrid();
    var i, k;
    for (i = 0; i < rec.statics.length; i++) {
      var s = rec.statics[i];
      var colours = KorvanStage.staticColours(s.style === 'notifier');
      drawShape(s, s.x, s.y, s.a, colours[0], colours[1], false);
    }
    var f = frames[index];
    var awake = 0, asleep = 0;
    if (f) {
      var b = f.b;
      for (k = 0; k + 4 < b.length; k += 5) {
        var body = rec.bodies[b[k]];
        if (!body) continue;
        var isAwake = b[k + 4] === 1;
        if (isAwake) awake++; else asleep++;
        var colours = bodyColours(body, isAwake);
        drawShape(body.shape, b[k + 1], b[k + 2], b[k + 3], colours[0], colours[1], true);
      }
      if (showJoints.checked) {
        for (k = 0; k + 4 < f.j.length; k += 5) {
          KorvanStage.joint(ctx, scale, f.j[k], f.j[k + 1], f.j[k + 2], f.j[k + 3], f.j[k + 4]);
        }
      }
      if (showMarks.checked) drawMarks(f);
      if (showContacts.checked) {
        var c = f.c;
        for (k = 0; k + 3 < c.length; k += 4) {
          KorvanStage.contact(ctx, scale, c[k], c[k + 1], c[k + 2], c[k + 3]);
        }
      }
    }
    ctx.setTransform(1, 0, 0, 1, 0, 0);
    var t = f ? f.t : 0;
    clock.textContent = 't = ' + t.toFixed(2) + ' s  (step ' + (f ? f.s : 0) + ' of ' + rec.steps + ')';
    stats.textContent = (awake + asleep) + ' bodies: ' + awake + ' awake, ' + asleep +
        ' asleep; ' + (f ? f.c.length / 4 : 0) + ' contacts in this frame';
    slider.value = String(index);
  }

  // Scene marks: lines (x0,y0,x1,y1) and points (x,y), under the contacts.
  function drawMarks(f) {
    var k, l = f.l || [], p = f.p || [], dot = 2.5 / scale;
    ctx.lineWidth = 1 / scale;
    ctx.strokeStyle = 'rgba(230,170,20,0.75)';
    for (k = 0; k + 3 < l.length; k += 4) {
      if (!KorvanStage.ok(l[k]) || !KorvanStage.ok(l[k + 1]) || !KorvanStage.ok(l[k + 2]) ||
          !KorvanStage.ok(l[k + 3]))
        continue;
      ctx.beginPath();
      ctx.moveTo(l[k], l[k + 1]);
      ctx.lineTo(l[k + 2], l[k + 3]);
      ctx.stroke();
    }
    ctx.fillStyle = '#8a2be2';
    for (k = 0; k + 1 < p.length; k += 2) {
      if (!KorvanStage.ok(p[k]) || !KorvanStage.ok(p[k + 1])) continue;
      ctx.beginPath();
      ctx.arc(p[k], p[k + 1], dot, 0, 2 * Math.PI);
      ctx.fill();
    }
  }

  // The frame nearest to t. Frame times come from the engine's float clock,
  // so the last frame of a 10 s run may sit a hair after 10: "nearest" still
  // reaches it where "last not after" stopped one frame short.
  function frameAt(t) {
    var lo = 0, hi = frames.length - 1;
    if (hi < 0) return 0;
    if (t <= frames[0].t) return 0;
    while (lo < hi) {
      var mid = (lo + hi + 1) >> 1;
      if (frames[mid].t <= t) lo = mid; else hi = mid - 1;
    }
    if (lo + 1 < frames.length && frames[lo + 1].t - t < t - frames[lo].t) lo = lo + 1;
    return lo;
  }

  function setPlaying(on) {
    playing = on && frames.length > 1;
    playButton.textContent = playing ? 'Pause' : (index >= frames.length - 1 ? 'Replay' : 'Play');
    lastTick = null;
  }

  function tick(now) {
    if (playing) {
      if (lastTick !== null) {
        simTime += (now - lastTick) / 1000 * parseFloat(speedBox.value);
        var last = frames[frames.length - 1].t;
        if (simTime >= last) { simTime = last; index = frames.length - 1; draw(); setPlaying(false); }
        else { index = frameAt(simTime); draw(); }
      }
      lastTick = now;
    }
    window.requestAnimationFrame(tick);
  }

  // "#t=2.5" shows the frame at 2.5 s and pauses there.
  function applyHash() {
    var m = /(?:^#|&)t=([0-9.eE+-]+)/.exec(window.location.hash);
    if (!m) return false;
    var t = parseFloat(m[1]);
    if (!isFinite(t)) return false;
    index = frameAt(t);
    simTime = frames.length ? frames[index].t : 0;
    setPlaying(false);
    draw();
    return true;
  }

  playButton.addEventListener('click', function () {
    if (!playing && index >= frames.length - 1) { index = 0; simTime = frames.length ? frames[0].t : 0; }
    setPlaying(!playing);
    draw();
  });
  slider.addEventListener('input', function () {
    index = Math.min(frames.length - 1, Math.max(0, parseInt(slider.value, 10) || 0));
    simTime = frames.length ? frames[index].t : 0;
    setPlaying(false);
    draw();
  });
  showContacts.addEventListener('change', draw);
  showMarks.addEventListener('change', draw);
  showJoints.addEventListener('change', draw);
  window.addEventListener('resize', function () { layout(); draw(); });
  window.addEventListener('hashchange', applyHash);
  document.addEventListener('keydown', function (e) {
    if (e.target && e.target.tagName === 'SELECT') return;
    if (e.key === ' ') { e.preventDefault(); playButton.click(); }
    else if (e.key === 'ArrowRight' || e.key === 'ArrowLeft') {
      index = Math.min(frames.length - 1, Math.max(0, index + (e.key === 'ArrowRight' ? 1 : -1)));
      simTime = frames.length ? frames[index].t : 0;
      setPlaying(false);
      draw();
    }
  });

  layout();
  if (!applyHash()) { setPlaying(playing); draw(); }
  window.requestAnimationFrame(tick);
})();
</script>
</body>
</html>
)HTML";
}

}  // namespace KorvanDemo
