// What is drawn over an image: its values, the crosshair, a line, a frame.
const kColour = '#ffb000';

/** The true values, printed into their pixels. */
export function drawValues(context, view, {header, values}) {
  const size = Math.min(14 * (window.devicePixelRatio || 1), view.scale / (header.components === 3 ? 4 : 3));
  context.font = `${size}px sans-serif`;
  context.textAlign = 'center';
  context.textBaseline = 'middle';
  for (let y = 0; y < header.height; ++y) {
    for (let x = 0; x < header.width; ++x) {
      const at = view.toCanvas({x: header.x + x + 0.5, y: header.y + y + 0.5});
      const first = (y * header.width + x) * header.components;
      const own = values.slice(first, first + header.components);
      context.fillStyle = own[0] > 0.5 * (2 ** header.bits) ? '#000' : '#fff';
      own.forEach((value, i) => context.fillText(value, at.x, at.y + (i - (own.length - 1) / 2) * size * 1.1));
    }
  }
}

function strokeLines(context, ...lines) {
  context.lineWidth = Math.max(1, window.devicePixelRatio || 1);
  context.strokeStyle = kColour;
  context.beginPath();
  for (const [from, to] of lines) {
    context.moveTo(from.x, from.y);
    context.lineTo(to.x, to.y);
  }
  context.stroke();
}

/** Through a place of the canvas. */
export function drawCrosshair(context, {canvas}, {x, y}) {
  strokeLines(context, [{x, y: 0}, {x, y: canvas.height}], [{x: 0, y}, {x: canvas.width, y}]);
}

/** Between the middles of two pixels of the image. */
export function drawLine(context, view, [x1, y1, x2, y2]) {
  strokeLines(context, [view.toCanvas({x: x1 + 0.5, y: y1 + 0.5}), view.toCanvas({x: x2 + 0.5, y: y2 + 0.5})]);
}

/** Around pixels of the image. */
export function drawRegion(context, view, {x, y, width, height}) {
  const at = view.toCanvas({x, y});
  context.lineWidth = Math.max(1, window.devicePixelRatio || 1);
  context.strokeStyle = kColour;
  context.strokeRect(at.x, at.y, width * view.scale, height * view.scale);
}
