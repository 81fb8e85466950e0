#include "platform/shared_memory.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

constexpr const char* THP_DIRECTORY = "/sys/kernel/mm/transparent_hugepage";
constexpr const char* THP_SIZE_FILE = "/sys/kernel/mm/transparent_hugepage/hpage_pmd_size";
constexpr const char* THP_SHMEM_FILE = "/sys/kernel/mm/transparent_hugepage/shmem_enabled";

bool valid_name(const char* name) {
  size_t length = std::strlen(name);
  return name[0] == '/' && length > 1 && length < SHARED_NAME_SIZE && !std::strchr(name + 1, '/');
}

// Reads a small sysfs file into `buffer`; false when it cannot be read.
bool read_small_file(const char* path, char* buffer, size_t size) {
  int fd = open(path, O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  ssize_t got = read(fd, buffer, size - 1);
  close(fd);
  if (got <= 0) return false;
  buffer[got] = 0;
  return true;
}

// Opens a fresh object; a leftover of the same name is removed once.
int open_fresh(const char* name) {
  int fd = shm_open(name, O_RDWR | O_CREAT | O_EXCL, 0600);
  if (fd < 0 && errno == EEXIST) {
    shm_unlink(name);
    fd = shm_open(name, O_RDWR | O_CREAT | O_EXCL, 0600);
  }
  return fd;
}

}  // namespace

bool create_shared_mapping(SharedMapping& mapping, const char* name, uint64_t bytes, char* error,
                           size_t error_size) {
  mapping = SharedMapping{};
  if (!valid_name(name)) {
    std::snprintf(error, error_size, "Cannot create shared memory '%s': not a valid name", name);
    return false;
  }
  // The size has to fit the file offset and the address space.
  if (bytes == 0 || bytes > uint64_t(INT64_MAX) || bytes > uint64_t(SIZE_MAX)) {
    std::snprintf(error, error_size, "Cannot create shared memory '%s' of %llu bytes: impossible size",
                  name, (unsigned long long)bytes);
    return false;
  }
  int fd = open_fresh(name);
  if (fd < 0) {
    std::snprintf(error, error_size, "Cannot create shared memory '%s': %s", name, std::strerror(errno));
    return false;
  }
  auto fail = [&](const char* what, int code) {
    close(fd);
    shm_unlink(name);
    std::snprintf(error, error_size, "Cannot %s %llu bytes of shared memory '%s': %s%s", what,
                  (unsigned long long)bytes, name, std::strerror(code),
                  code == ENOSPC ? " (/dev/shm is too small for the table)" : "");
    return false;
  };
  if (ftruncate(fd, off_t(bytes)) != 0) return fail("size", errno);
  // posix_fallocate returns its error instead of setting errno.
  int reserved = posix_fallocate(fd, 0, off_t(bytes));
  if (reserved != 0) return fail("reserve", reserved);
  void* base = mmap(nullptr, size_t(bytes), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  if (base == MAP_FAILED) return fail("map", errno);
  close(fd);
  mapping.base = base;
  mapping.bytes = bytes;
  std::snprintf(mapping.name, sizeof(mapping.name), "%s", name);
  return true;
}

bool open_shared_mapping(SharedMapping& mapping, const char* name, char* error, size_t error_size) {
  mapping = SharedMapping{};
  if (!valid_name(name)) {
    std::snprintf(error, error_size, "Cannot open shared memory '%s': not a valid name", name);
    return false;
  }
  int fd = shm_open(name, O_RDWR, 0);
  if (fd < 0) {
    std::snprintf(error, error_size, "Cannot open shared memory '%s': %s", name, std::strerror(errno));
    return false;
  }
  struct stat status;
  if (fstat(fd, &status) != 0) {
    int code = errno;
    close(fd);
    std::snprintf(error, error_size, "Cannot read the size of shared memory '%s': %s", name,
                  std::strerror(code));
    return false;
  }
  if (status.st_size <= 0) {
    close(fd);
    std::snprintf(error, error_size, "Cannot open shared memory '%s': it is empty", name);
    return false;
  }
  void* base = mmap(nullptr, size_t(status.st_size), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  int code = errno;
  close(fd);
  if (base == MAP_FAILED) {
    std::snprintf(error, error_size, "Cannot map shared memory '%s': %s", name, std::strerror(code));
    return false;
  }
  mapping.base = base;
  mapping.bytes = uint64_t(status.st_size);
  return true;
}

void unlink_shared_mapping(SharedMapping& mapping) {
  if (!mapping.name[0]) return;
  shm_unlink(mapping.name);
  mapping.name[0] = 0;
}

void unmap_shared_mapping(SharedMapping& mapping) {
  if (mapping.base) munmap(mapping.base, size_t(mapping.bytes));
  mapping.base = nullptr;
  mapping.bytes = 0;
}

int32_t current_process_id() { return int32_t(getpid()); }

bool shared_name_exists(const char* name) {
  int fd = shm_open(name, O_RDONLY, 0);
  if (fd < 0) return false;
  close(fd);
  return true;
}

HugePageSupport huge_page_support() {
  if (access(THP_DIRECTORY, F_OK) != 0) return HugePageSupport::ABSENT;
  if (huge_page_size() == 0) return HugePageSupport::NO_SIZE;
  // The setting in force is the bracketed word, e.g. "always [advise] never".
  char setting[256];
  if (!read_small_file(THP_SHMEM_FILE, setting, sizeof(setting))) return HugePageSupport::REFUSED;
  if (std::strstr(setting, "[never]") || std::strstr(setting, "[deny]")) return HugePageSupport::REFUSED;
  return HugePageSupport::AVAILABLE;
}

uint64_t huge_page_size() {
  char text[64];
  if (!read_small_file(THP_SIZE_FILE, text, sizeof(text))) return 0;
  unsigned long long size = 0;
  if (std::sscanf(text, "%llu", &size) != 1) return 0;
  return uint64_t(size);
}

int advise_huge_pages(const SharedMapping& mapping) {
  if (!mapping.base) return EINVAL;
  return madvise(mapping.base, size_t(mapping.bytes), MADV_HUGEPAGE) == 0 ? 0 : errno;
}
