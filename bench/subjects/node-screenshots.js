'use strict';

module.exports = (load) => {
  const { Monitor } = load('node-screenshots');
  const capture = () => Monitor.all()[0].captureImageSync();
  return {
    jpeg: () => capture().toJpegSync(),
    crop: () => capture().cropSync(800, 300, 200, 200).toJpegSync(),
    png: () => capture().toPngSync(),
  };
};
