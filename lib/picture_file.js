'use strict';

const { randomUUID } = require('node:crypto');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');

// Opens a file in memory without a name, through which the helper hands over
// pictures: a message of some MB would take many times as long. Nothing is left
// of it when both processes have gone, however they end.
function openPictureFile(directories = ['/dev/shm', os.tmpdir()]) {
  const [directory, ...others] = directories;
  const name = path.join(directory, `ostler-${randomUUID()}`);
  try {
    const descriptor = fs.openSync(name, 'wx+', 0o600);
    fs.unlinkSync(name);
    return descriptor;
  } catch (error) {
    if (others.length === 0) throw error;
    return openPictureFile(others);
  }
}

// Gives what has to be sent: the picture's length, or the picture where it does not fit the file.
function writePicture(descriptor, picture) {
  try {
    return fs.writeSync(descriptor, picture, 0, picture.length, 0) === picture.length ? picture.length : picture;
  } catch {
    return picture;
  }
}

function readPicture(descriptor, sent) {
  if (typeof sent !== 'number') return sent;
  const picture = Buffer.allocUnsafeSlow(sent);
  fs.readSync(descriptor, picture, 0, sent, 0);
  return picture;
}

module.exports = { openPictureFile, readPicture, writePicture };
