// An image that the server sent, as something that can be drawn and asked for values.

export class Frame {
  constructor(header, picture, values) {
    this.header = header;
    this.picture = picture;
    this.values = values; // null unless the true ones came with it
  }

  static async from({header, body}) {
    const {columns, rows, channels, kind} = header;
    if (kind === 'jpeg')
      return new Frame(header, await createImageBitmap(new Blob([body], {type: 'image/jpeg'})), null);
    const picture = pictureFrom(body, columns, rows, channels);
    const values = kind === 'values' ? valuesFrom(body.subarray(columns * rows * channels), header) : null;
    return new Frame(header, picture, values);
  }

  /** Gives memory back that would else wait for the garbage collector. */
  close() {
    this.picture.close?.();
  }

  /** The components of a pixel of the image; null where they are not known. */
  valuesAt(x, y) {
    const {header, values} = this;
    const column = x - header.x;
    const row = y - header.y;
    if (!values || column < 0 || row < 0 || column >= header.width || row >= header.height) return null;
    const first = (row * header.width + column) * header.components;
    return values.slice(first, first + header.components);
  }
}

/** Samples of one or three bytes a pixel as something that can be drawn. */
function pictureFrom(samples, columns, rows, channels) {
  const image = new ImageData(columns, rows);
  const pixels = image.data;
  const last = channels - 1;
  for (let i = 0, from = 0; i < pixels.length; i += 4, from += channels) {
    pixels[i] = samples[from];
    pixels[i + 1] = samples[from + Math.min(1, last)];
    pixels[i + 2] = samples[from + last];
    pixels[i + 3] = 255;
  }
  const canvas = new OffscreenCanvas(columns, rows);
  canvas.getContext('2d').putImageData(image, 0, 0);
  return canvas;
}

function valuesFrom(data, header) {
  const view = new DataView(data.buffer, data.byteOffset, data.byteLength);
  const count = header.width * header.height * header.components;
  const values = new Array(count);
  for (let i = 0; i < count; ++i)
    values[i] = header.valueBytes === 2 ? view.getUint16(2 * i, true) : view.getUint8(i);
  return values;
}
