// Emulates a DRM render node for KWin on machines without a GPU. KWin casts screens only with
// OpenGL, and its virtual backend and Mesa's software renderer allocate their buffers through a
// render node. This library is loaded into KWin with LD_PRELOAD and answers like the kernel's vgem
// driver; the buffers are memory files. The environment variable RENDER_NODE names a character
// device that stands for the node.

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <string_view>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <xf86drm.h>

namespace {

// A buffer is mapped at an offset beyond the end of any file, by which mmap64() recognises it.
constexpr int handleShift = 32;
constexpr std::uint64_t firstOffset = std::uint64_t{1} << 44;

struct Buffer {
  int descriptor;
  ino_t file;  // two handles of one file are the same buffer
  int references;
};
std::mutex mutex;
std::map<std::uint32_t, Buffer> buffers;

int fail(int error) {
  errno = error;
  return -1;
}

// Takes ownership of the descriptor and returns the handle of its file.
std::uint32_t handleOf(int descriptor) {
  struct stat status;
  fstat(descriptor, &status);
  for (auto& [handle, buffer] : buffers) {
    if (buffer.file != status.st_ino) continue;
    close(descriptor);
    ++buffer.references;
    return handle;
  }
  const std::uint32_t handle = buffers.empty() ? 1 : buffers.rbegin()->first + 1;
  buffers[handle] = {descriptor, status.st_ino, 1};
  return handle;
}

int release(std::uint32_t handle) {
  const auto found = buffers.find(handle);
  if (found == buffers.end()) return fail(EINVAL);
  if (--found->second.references > 0) return 0;
  close(found->second.descriptor);
  buffers.erase(found);
  return 0;
}

int create(drm_mode_create_dumb& request) {
  request.pitch = (request.width * request.bpp / 8 + 63) / 64 * 64;
  request.size = (std::uint64_t{request.pitch} * request.height + 4095) / 4096 * 4096;
  const int descriptor = memfd_create("buffer", MFD_CLOEXEC);
  if (descriptor < 0 || ftruncate(descriptor, static_cast<off_t>(request.size)) != 0) return -1;
  request.handle = handleOf(descriptor);
  return 0;
}

void copy(std::string_view text, char* to, __kernel_size_t& size) {
  if (to != nullptr) std::memcpy(to, text.data(), std::min<std::size_t>(size, text.size()));
  size = text.size();
}

int answer(unsigned long request, void* argument) {
  switch (request) {
    case DRM_IOCTL_VERSION: {
      auto& version = *static_cast<drm_version*>(argument);
      version.version_major = 1;
      copy("vgem", version.name, version.name_len);
      copy("20120112", version.date, version.date_len);
      copy("Virtual GEM provider", version.desc, version.desc_len);
      return 0;
    }
    case DRM_IOCTL_GET_CAP: {
      auto& cap = *static_cast<drm_get_cap*>(argument);
      cap.value = cap.capability == DRM_CAP_DUMB_BUFFER ? 1
                  : cap.capability == DRM_CAP_PRIME     ? DRM_PRIME_CAP_IMPORT | DRM_PRIME_CAP_EXPORT
                                                        : 0;
      return 0;
    }
    case DRM_IOCTL_MODE_CREATE_DUMB:
      return create(*static_cast<drm_mode_create_dumb*>(argument));
    case DRM_IOCTL_MODE_MAP_DUMB: {
      auto& map = *static_cast<drm_mode_map_dumb*>(argument);
      map.offset = firstOffset + (std::uint64_t{map.handle} << handleShift);
      return 0;
    }
    case DRM_IOCTL_MODE_DESTROY_DUMB:
      return release(static_cast<drm_mode_destroy_dumb*>(argument)->handle);
    case DRM_IOCTL_GEM_CLOSE:
      return release(static_cast<drm_gem_close*>(argument)->handle);
    case DRM_IOCTL_PRIME_HANDLE_TO_FD: {
      auto& prime = *static_cast<drm_prime_handle*>(argument);
      const auto found = buffers.find(prime.handle);
      if (found == buffers.end()) return fail(EINVAL);
      prime.fd = fcntl(found->second.descriptor, F_DUPFD_CLOEXEC, 0);
      return prime.fd < 0 ? -1 : 0;
    }
    case DRM_IOCTL_PRIME_FD_TO_HANDLE: {
      auto& prime = *static_cast<drm_prime_handle*>(argument);
      prime.handle = handleOf(fcntl(prime.fd, F_DUPFD_CLOEXEC, 0));
      return 0;
    }
    default:
      return fail(EINVAL);
  }
}

drmDevice* describe() {
  static char* const path = std::getenv("RENDER_NODE");
  static char* nodes[] = {path, nullptr, path};  // primary, control, render
  static drmPlatformBusInfo bus{"platform"};
  static drmDevice device{};
  device.nodes = nodes;
  device.available_nodes = 1 << DRM_NODE_PRIMARY | 1 << DRM_NODE_RENDER;
  device.bustype = DRM_BUS_PLATFORM;
  device.businfo.platform = &bus;
  return &device;
}

}  // namespace

extern "C" {

int ioctl(int descriptor, unsigned long request, ...) noexcept {
  std::va_list arguments;
  va_start(arguments, request);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  if (_IOC_TYPE(request) == 'b' && _IOC_NR(request) == 0) return 0;  // DMA_BUF_IOCTL_SYNC
  if (_IOC_TYPE(request) != DRM_IOCTL_BASE)
    return static_cast<int>(syscall(SYS_ioctl, descriptor, request, argument));
  const std::lock_guard lock(mutex);
  return answer(request, argument);
}

void* mmap64(void* address, std::size_t size, int protection, int flags, int descriptor,
             off64_t offset) noexcept {
  if (descriptor >= 0 && static_cast<std::uint64_t>(offset) >= firstOffset) {
    const std::lock_guard lock(mutex);
    const auto found = buffers.find((static_cast<std::uint64_t>(offset) - firstOffset) >> handleShift);
    if (found != buffers.end()) descriptor = found->second.descriptor, offset = 0;
  }
  return reinterpret_cast<void*>(syscall(SYS_mmap, address, size, protection, flags, descriptor, offset));
}
void* mmap(void* address, std::size_t size, int protection, int flags, int descriptor,
           off_t offset) noexcept {
  return mmap64(address, size, protection, flags, descriptor, offset);
}

// The functions of libdrm that KWin and Mesa call. The description is static, so nothing is freed.
int drmGetDevices2(uint32_t, drmDevicePtr devices[], int count) {
  if (devices != nullptr && count > 0) devices[0] = describe();
  return 1;
}
int drmGetDevice2(int, std::uint32_t, drmDevicePtr* device) {
  *device = describe();
  return 0;
}
int drmGetDeviceFromDevId(dev_t, std::uint32_t flags, drmDevicePtr* device) {
  return drmGetDevice2(-1, flags, device);
}
void drmFreeDevice(drmDevicePtr* device) { *device = nullptr; }
void drmFreeDevices(drmDevicePtr devices[], int count) { std::fill_n(devices, count, nullptr); }
int drmGetNodeTypeFromFd(int) { return DRM_NODE_RENDER; }
char* drmGetDeviceNameFromFd2(int) { return strdup(std::getenv("RENDER_NODE")); }
char* drmGetRenderDeviceNameFromFd(int) { return strdup(std::getenv("RENDER_NODE")); }
}
