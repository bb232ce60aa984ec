'use strict';
// robotjs has no encoder, so its users usually encode with sharp.

module.exports = (load) => {
  const robot = load('robotjs');
  const sharp = load('sharp');
  robot.setMouseDelay(0);
  robot.setKeyboardDelay(0);
  let x = 0;
  const capture = (...region) => {
    const { image, width, height, byteWidth } = robot.screen.capture(...region);
    // The bitmap is BGRA with an alpha of 0; sharp needs RGBA, and such pixels would be black.
    for (let i = 0; i < image.length; i += 4) {
      const blue = image[i];
      image[i] = image[i + 2];
      image[i + 2] = blue;
      image[i + 3] = 255;
    }
    return sharp(image, { raw: { width: byteWidth / 4, height, channels: 4 } }).removeAlpha()
      .extract({ left: 0, top: 0, width, height });
  };
  const jpeg = (picture) => picture.jpeg({ quality: 75 }).toBuffer();
  return {
    display: () => { robot.getScreenSize(); },
    cursorPosition: () => { robot.getMousePos(); },
    move: () => robot.moveMouse(600 + (x ^= 1), 400),
    key: () => robot.keyTap('a'),
    combo: () => robot.keyTap('a', ['control', 'shift']),
    jpeg: () => jpeg(capture()),
    jpeg720: () => jpeg(capture().resize(1280, 720, { fit: 'fill' })),
    jpeg768: () => jpeg(capture().resize(1366, 768, { fit: 'fill' })),
    crop: () => jpeg(capture(800, 300, 200, 200)),
    png: () => capture().png().toBuffer(),
  };
};
