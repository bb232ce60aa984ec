'use strict';

// The packages that contain each library: on Debian and Ubuntu, on Fedora, and on Arch.
const packages = {
  'libX11.so.6': ['libx11-6', 'libX11', 'libx11'],
  'libXtst.so.6': ['libxtst6', 'libXtst', 'libxtst'],
  'libxcb.so.1': ['libxcb1', 'libxcb', 'libxcb'],
};

// Loads the build of a clone, or else the prebuilt addon. Bundlers find only literal paths.
function load() {
  try {
    return require('./build/ostler.node');
  } catch (error) {
    if (error.code !== 'MODULE_NOT_FOUND') throw error;
    switch (`${process.platform}-${process.arch}`) {
      case 'linux-x64': return require('./prebuilds/linux-x64/ostler.node');
      case 'linux-arm64': return require('./prebuilds/linux-arm64/ostler.node');
      default: throw error;
    }
  }
}

function isMusl() {
  const { report } = process;
  if (!report?.getReport) return false;
  // With the network included, a report would look up the host name of every peer.
  const { excludeNetwork } = report;
  report.excludeNetwork = true;
  const { header } = report.getReport();
  report.excludeNetwork = excludeNetwork;
  return !header.glibcVersionRuntime;
}

// Returns a message that says what to do about an error of load().
function remedy({ code, message }) {
  if (process.platform !== 'linux') return `ostler runs on Linux only, not on ${process.platform}.`;
  if (!['x64', 'arm64'].includes(process.arch)) {
    return `ostler has no build for ${process.arch} processors: use an x64 or arm64 machine, or build it from source.`;
  }
  if (isMusl()) return 'ostler needs glibc, but this system has musl: use a distribution with glibc, such as Debian.';
  if (code === 'MODULE_NOT_FOUND') return 'ostler is not built here: run "npm run build" in its directory.';
  const library = /([^ /]+\.so[.\d]*): cannot open shared object file/.exec(message)?.[1];
  if (library in packages) {
    const [debian, fedora, arch] = packages[library];
    return `ostler needs ${library}: install ${debian} (Debian, Ubuntu), ${fedora} (Fedora) or ${arch} (Arch).`;
  }
  if (library) return `ostler needs ${library}: install the package that contains it.`;
  const glibc = /version `GLIBC_([\d.]+)' not found/.exec(message)?.[1];
  if (glibc) return `ostler needs glibc ${glibc} or later: use a newer release of this distribution.`;
  return `ostler cannot be loaded: ${message}`;
}

// This module exports the error instead of throwing it. When a CommonJS module that index.mjs
// imports throws, Node up to version 20 also reports the error as uncaught, which would end the
// process although the host has caught it.
try {
  exports.addon = load();
} catch (error) {
  exports.error = new Error(remedy(error), { cause: error });
}
