'use strict';
// Runs wherever a native module is loaded: in the host, in the helper process and in the release
// process.

// The packages that contain each library: on Debian and Ubuntu, on Fedora, and on Arch. A
// prebuilt module contains the codecs; a build from source needs the two codec libraries too.
const packages = {
  'libX11.so.6': ['libx11-6', 'libX11', 'libx11'],
  'libXext.so.6': ['libxext6', 'libXext', 'libxext'],
  'libXtst.so.6': ['libxtst6', 'libXtst', 'libxtst'],
  'libxcb.so.1': ['libxcb1', 'libxcb', 'libxcb'],
  'libjpeg.so.62': ['libjpeg62-turbo', 'libjpeg-turbo', 'libjpeg-turbo'],
  'libjpeg.so.8': ['libjpeg-turbo8', 'libjpeg-turbo', 'libjpeg-turbo'],
  'libpng16.so.16': ['libpng16-16', 'libpng', 'libpng'],
  'libglib-2.0.so.0': ['libglib2.0-0', 'glib2', 'glib2'],
  'libgobject-2.0.so.0': ['libglib2.0-0', 'glib2', 'glib2'],
  'libgio-2.0.so.0': ['libglib2.0-0', 'glib2', 'glib2'],
  'libpipewire-0.3.so.0': ['libpipewire-0.3-0', 'pipewire-libs', 'libpipewire'],
  'libei.so.1': ['libei1', 'libei', 'libei'],
  'libxkbcommon.so.0': ['libxkbcommon0', 'libxkbcommon', 'libxkbcommon'],
};

function installing(library) {
  const names = packages[library];
  if (!names) return 'install the package that contains it';
  const [debian, fedora, arch] = names;
  return `install ${debian} (Debian, Ubuntu), ${fedora} (Fedora) or ${arch} (Arch)`;
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

// Returns a message that says what to do about an error of loading a native module.
function remedy({ code, message }) {
  if (process.platform !== 'linux') return `ostler runs on Linux only, not on ${process.platform}.`;
  if (!['x64', 'arm64'].includes(process.arch)) {
    return `ostler has no build for ${process.arch} processors: use an x64 or arm64 machine, or build it from source.`;
  }
  if (isMusl()) return 'ostler needs glibc, but this system has musl: use a distribution with glibc, such as Debian.';
  if (code === 'MODULE_NOT_FOUND') return 'ostler is not built here: run "npm run build" in its directory.';
  const library = /([^ /]+\.so[.\d]*): cannot open shared object file/.exec(message)?.[1];
  if (library) return `ostler needs ${library}: ${installing(library)}.`;
  const glibc = /version `GLIBC_([\d.]+)' not found/.exec(message)?.[1];
  if (glibc) return `ostler needs glibc ${glibc} or later: use a newer release of this distribution.`;
  return `ostler cannot be loaded: ${message}`;
}

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

// Returns the error instead of throwing it. When a CommonJS module that index.mjs imports throws,
// Node up to version 20 also reports the error as uncaught, which would end the process although
// the host has caught it.
function tryToLoad() {
  try {
    return { addon: load() };
  } catch (error) {
    return { error: new Error(remedy(error), { cause: error }) };
  }
}

// The addon is loaded when a host asks for it. The other processes need only the remedies.
let loaded;
module.exports = {
  get addon() { return (loaded ??= tryToLoad()).addon; },
  get error() { return (loaded ??= tryToLoad()).error; },
  installing, remedy,
};
