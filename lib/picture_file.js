'use strict';

const { randomUUID } = require('node:crypto');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');

// Opens an unnamed file in memory, through which the helper passes pictures: a message of
// several MB would take many times as long. The file disappears when both processes have
// exited, even if they are killed.
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

// Returns what the helper sends to the host: the picture's length, or the picture itself when it
// cannot be written to the file.
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
