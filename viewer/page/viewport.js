// Which part of an image is seen, and how large: from pixels of the canvas to those of the image and back.
const kLargestZoom = 128;

export class Viewport {
  scale = 1; // canvas pixels for an image pixel
  fits = true; // the whole image is seen
  centre = {x: 0, y: 0}; // of what is seen, in the image
  image = {width: 0, height: 0};
  canvas = {width: 1, height: 1};

  /** To be told of new sizes of the image or the canvas. */
  measure({image = this.image, canvas = this.canvas}) {
    this.image = image;
    this.canvas = canvas;
    if (!this.fits) return;
    this.scale = this.#fitScale();
    this.centre = {x: image.width / 2, y: image.height / 2};
  }

  /** Shows the whole image for 0, or `scale` canvas pixels for an image pixel; what is below `at` stays there. */
  zoom(scale, at = null) {
    const before = at && this.toImage(at);
    this.fits = scale === 0;
    if (!this.fits) this.scale = Math.min(Math.max(scale, Math.min(1, this.#fitScale()) / 2), kLargestZoom);
    if (!before) return;
    const after = this.toImage(at);
    this.centre.x += before.x - after.x;
    this.centre.y += before.y - after.y;
  }

  /** Moves over the image by so many of its pixels. */
  pan(x, y) {
    this.fits = false;
    this.centre.x = Math.min(Math.max(0, this.centre.x + x), this.image.width);
    this.centre.y = Math.min(Math.max(0, this.centre.y + y), this.image.height);
  }

  toImage({x, y}) {
    const {width, height} = this.canvas;
    return {x: this.centre.x + (x - width / 2) / this.scale, y: this.centre.y + (y - height / 2) / this.scale};
  }

  toCanvas({x, y}) {
    const {width, height} = this.canvas;
    return {x: (x - this.centre.x) * this.scale + width / 2, y: (y - this.centre.y) * this.scale + height / 2};
  }

  /** The image's pixel at a place in it, or the nearest one. */
  pixelAt({x, y}) {
    return {x: Math.min(Math.max(0, Math.floor(x)), this.image.width - 1),
      y: Math.min(Math.max(0, Math.floor(y)), this.image.height - 1)};
  }

  /** The pixels that are seen; all zero for the whole image. */
  seen() {
    if (this.fits || !this.image.width) return {x: 0, y: 0, width: 0, height: 0};
    const from = this.toImage({x: 0, y: 0});
    const to = this.toImage({x: this.canvas.width, y: this.canvas.height});
    const x = Math.max(0, Math.floor(from.x));
    const y = Math.max(0, Math.floor(from.y));
    return {x, y, width: Math.max(1, Math.min(this.image.width, Math.ceil(to.x)) - x),
      height: Math.max(1, Math.min(this.image.height, Math.ceil(to.y)) - y)};
  }

  #fitScale() {
    if (!this.image.width) return 1;
    return Math.min(this.canvas.width / this.image.width, this.canvas.height / this.image.height);
  }
}
