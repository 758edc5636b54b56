// Draws the engine's world on a 2D canvas whose transform maps world units;
// shared by the replay page and the sandbox page. y grows downwards on the
// canvas as it does in the world (gravity is +y), so the engine's angles map
// directly. `scale` is CSS pixels per world unit: lines keep their width in
// pixels at any zoom.
var KorvanStage = (function () {
  'use strict';

  function ok(v) { return typeof v === 'number' && isFinite(v); }

  // Grid lines every 1, 5, 10, 50 or 100 units, depending on the view's
  // width, over rect = [minX, minY, maxX, maxY].
  function grid(ctx, scale, rect, viewWidth) {
    var size = viewWidth > 800 ? 100 : viewWidth > 300 ? 50 : viewWidth > 80 ? 10 :
               viewWidth > 30 ? 5 : 1;
    ctx.strokeStyle = 'rgba(0,0,0,0.06)';
    ctx.lineWidth = 1 / scale;
    ctx.beginPath();
    for (var x = Math.ceil(rect[0] / size) * size; x <= rect[2]; x += size) {
      ctx.moveTo(x, rect[1]); ctx.lineTo(x, rect[3]);
    }
    for (var y = Math.ceil(rect[1] / size) * size; y <= rect[3]; y += size) {
      ctx.moveTo(rect[0], y); ctx.lineTo(rect[2], y);
    }
    ctx.stroke();
  }

  // kind 0: circle of radius a; 1: box of width a and height b; 2: segment
  // from (a, b) to (c, d). Circles may carry a radius line so that rotation shows.
  function shape(ctx, scale, kind, x, y, angle, a, b, c, d, fill, stroke, radiusLine) {
    if (!ok(x) || !ok(y) || !ok(angle)) return;
    ctx.save();
    ctx.translate(x, y);
    ctx.rotate(angle);
    ctx.lineWidth = 1.5 / scale;
    ctx.fillStyle = fill;
    ctx.strokeStyle = stroke;
    ctx.beginPath();
    if (kind === 0) {
      ctx.arc(0, 0, a, 0, 2 * Math.PI);
      ctx.fill();
      ctx.stroke();
      if (radiusLine) {
        ctx.beginPath();
        ctx.moveTo(0, 0);
        ctx.lineTo(a, 0);
        ctx.stroke();
      }
    } else if (kind === 1) {
      ctx.rect(-a / 2, -b / 2, a, b);
      ctx.fill();
      ctx.stroke();
    } else {
      ctx.lineWidth = 4 / scale;
      ctx.lineCap = 'round';
      ctx.moveTo(a, b);
      ctx.lineTo(c, d);
      ctx.stroke();
    }
    ctx.restore();
  }

  // [fill, stroke] of a body: ghosts, sleepers, awake circles, awake boxes.
  function bodyColours(kind, awake, ghost) {
    if (ghost) return ['rgba(150,90,210,0.35)', '#7d4cb0'];
    if (!awake) return ['#a7acb4', '#6c727b'];
    if (kind === 0) return ['#5aa5e6', '#24598a'];
    return ['#f2a14a', '#8f5317'];
  }

  // [fill, stroke] of static geometry and of notifier regions.
  function staticColours(notifier) {
    return notifier ? ['rgba(80,200,120,0.30)', '#2f8f5b'] : ['#5b6472', '#3b4250'];
  }

  // A spring as a zigzag between its anchors.
  function spring(ctx, x0, y0, x1, y1, colour) {
    var dx = x1 - x0, dy = y1 - y0, len = Math.sqrt(dx * dx + dy * dy);
    ctx.strokeStyle = colour;
    ctx.beginPath();
    ctx.moveTo(x0, y0);
    if (len > 1e-6) {
      var nx = -dy / len, ny = dx / len, turns = 12, amp = Math.min(0.25, len * 0.15);
      for (var i = 1; i < turns; i++) {
        var s = i / turns, side = (i % 2 ? 1 : -1) * amp;
        ctx.lineTo(x0 + dx * s + nx * side, y0 + dy * s + ny * side);
      }
    }
    ctx.lineTo(x1, y1);
    ctx.stroke();
  }

  // kind 0: ball socket, 1: spring, 2: motor; drawn between its two anchors.
  function joint(ctx, scale, kind, x0, y0, x1, y1) {
    if (!ok(x0) || !ok(y0) || !ok(x1) || !ok(y1)) return;
    ctx.lineWidth = 2 / scale;
    var colour = kind === 2 ? '#b0307a' : '#3b3f46';
    if (kind === 1) {
      spring(ctx, x0, y0, x1, y1, '#2f8f5b');
    } else {
      ctx.strokeStyle = colour;
      ctx.beginPath();
      ctx.moveTo(x0, y0);
      ctx.lineTo(x1, y1);
      ctx.stroke();
    }
    ctx.fillStyle = colour;
    ctx.beginPath();
    ctx.arc(x0, y0, 3 / scale, 0, 2 * Math.PI);
    ctx.arc(x1, y1, 3 / scale, 0, 2 * Math.PI);
    ctx.fill();
  }

  // A contact point with a short line along its normal.
  function contact(ctx, scale, x, y, nx, ny) {
    if (!ok(x) || !ok(y)) return;
    var arm = 14 / scale;
    ctx.lineWidth = 1.5 / scale;
    ctx.strokeStyle = ctx.fillStyle = '#d9263b';
    ctx.beginPath();
    ctx.arc(x, y, 3 / scale, 0, 2 * Math.PI);
    ctx.fill();
    if (ok(nx) && ok(ny)) {
      ctx.beginPath();
      ctx.moveTo(x, y);
      ctx.lineTo(x + nx * arm, y + ny * arm);
      ctx.stroke();
    }
  }

  return {
    ok: ok, grid: grid, shape: shape, bodyColours: bodyColours,
    staticColours: staticColours, spring: spring, joint: joint, contact: contact
  };
})();
