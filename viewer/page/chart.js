// Histogram and profile: curves that come with the images, several times a second.

const kColours = {Y: '#8a8f98', R: '#e0483e', G: '#2fa84f', B: '#3b7ddd'};

/** Draws curves into a canvas; each is {name, values}. Returns nothing to keep. */
export function drawCurves(canvas, curves, largest) {
  const ratio = window.devicePixelRatio || 1;
  const width = Math.round(canvas.clientWidth * ratio);
  const height = Math.round(canvas.clientHeight * ratio);
  if (canvas.width !== width || canvas.height !== height) Object.assign(canvas, {width, height});
  const context = canvas.getContext('2d');
  context.clearRect(0, 0, width, height);
  const most = largest ?? Math.max(1, ...curves.map(({values}) => Math.max(...values)));
  context.lineWidth = ratio;
  for (const {name, values} of curves) {
    context.strokeStyle = kColours[name] ?? kColours.Y;
    context.beginPath();
    values.forEach((value, i) => {
      const x = values.length < 2 ? 0 : i / (values.length - 1) * width;
      context.lineTo(x, height - 1 - value / most * (height - 2));
    });
    context.stroke();
  }
}

/** Components of pixels along a line as a curve each. */
export function profileCurves(profile, components) {
  const names = components === 3 ? ['R', 'G', 'B'] : ['Y'];
  return names.map((name, c) => ({name, values: profile.filter((_, i) => i % components === c)}));
}

/** Counts as what the eye can compare: their square roots, so that single ones are seen beside thousands. */
export function histogramCurves(channels) {
  return channels.map(({name, histogram}) => ({name, values: histogram.map(Math.sqrt)}));
}
