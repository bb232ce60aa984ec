'use strict';
// Runs in the host, in the helper process and in the release process, which share an unnamed
// file in memory. Its first page is the record of the keys and buttons that are held down
// (src/backend/held_record.h): the host can read it when the helper has been killed. Pictures
// follow it: a message of several MB would take many times as long. The file disappears when
// all these processes have exited, even if they are killed.

const { randomUUID } = require('node:crypto');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');

const pageSize = 4096;
// In bytes, with one bit for each code: the keys and buttons, and these with what outlives a call.
const pressedSize = 96, recordSize = 128;

function openMemoryFile(directories = ['/dev/shm', os.tmpdir()]) {
  const [directory, ...others] = directories;
  const name = path.join(directory, `ostler-${randomUUID()}`);
  let descriptor;
  try {
    descriptor = fs.openSync(name, 'wx+', 0o600);
    fs.unlinkSync(name);
    fs.ftruncateSync(descriptor, pageSize);
    return descriptor;
  } catch (error) {
    if (descriptor !== undefined) fs.closeSync(descriptor);
    if (others.length === 0) throw error;
    return openMemoryFile(others);
  }
}

function isAnyBitSet(descriptor, size) {
  const record = Buffer.alloc(size);
  fs.readSync(descriptor, record, 0, size, 0);
  return record.some((byte) => byte !== 0);
}

// Returns whether the record contains any key or button.
const isAnythingHeld = (descriptor) => isAnyBitSet(descriptor, pressedSize);
// Returns whether the record contains anything, also changes of the keyboard map.
const isAnythingLeft = (descriptor) => isAnyBitSet(descriptor, recordSize);

// Returns what the helper sends to the host: the picture's length, or the picture itself when it
// cannot be written to the file.
function writePicture(descriptor, picture) {
  try {
    return fs.writeSync(descriptor, picture, 0, picture.length, pageSize) === picture.length ? picture.length : picture;
  } catch {
    return picture;
  }
}

function readPicture(descriptor, sent) {
  if (typeof sent !== 'number') return sent;
  const picture = Buffer.allocUnsafeSlow(sent);
  fs.readSync(descriptor, picture, 0, sent, pageSize);
  return picture;
}

// Returns the result of `pixels`. The helper has written the data to the file, unless it sent them.
function readPixels(descriptor, sent) {
  if (sent === null || sent.data) return sent;
  return { ...sent, data: readPicture(descriptor, sent.width * sent.height * 4) };
}

module.exports = {
  isAnythingHeld, isAnythingLeft, openMemoryFile, pageSize, readPicture, readPixels, writePicture,
};
