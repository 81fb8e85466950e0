#include "hash/saved_table.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

#include "hash/table.h"
#include "pool/children.h"
#include "report/output.h"
#include "shell/identity.h"

namespace {

// Words move through this buffer, each read or written as one whole word,
// so that a copy taken during a search holds no torn entry.
constexpr size_t CHUNK_WORDS = 1 << 16;

constexpr uint64_t MAX_TABLE_MEGABYTES = uint64_t(1) << 15;

int table_megabytes() { return int(hash_words * 8 >> 20); }

}  // namespace

bool name_is_set(const char* name) { return name[0] && name[0] != '*'; }

void save_hash_file(const char* name) {
  if (!name_is_set(name)) {
    report_text("Save hash invoked but failed - file not set.");
    return;
  }
  FILE* file = std::fopen(name, "wb");
  if (!file) {
    const int error = errno;
    report_text("Save hash invoked but failed - %s (%d mb) could not be opened for writing, error: %s (%d).", name,
                table_megabytes(), std::strerror(error), error);
    return;
  }
  std::vector<uint64_t> chunk(CHUNK_WORDS);
  uint64_t written = 0;
  while (written < hash_words) {
    const size_t count = size_t(hash_words - written < CHUNK_WORDS ? hash_words - written : CHUNK_WORDS);
    for (size_t i = 0; i < count; ++i) chunk[i] = HashRead(written + i);
    const size_t done = std::fwrite(chunk.data(), sizeof(uint64_t), count, file);
    written += done;
    if (done < count) break;
  }
  if (written < hash_words) {
    const int error = errno;
    report_text("Save hash invoked but failed - %s (%d mb) could not be written to, error: %s (%d).", name,
                table_megabytes(), std::strerror(error), error);
  } else {
    report_text("Save hash invoked and succeeded - %d mb saved to %s.", table_megabytes(), name);
  }
  std::fclose(file);
}

void load_hash_file(const char* name, bool size_configured) {
  if (!name_is_set(name)) {
    report_text("Load hash invoked but failed - file not set.");
    return;
  }
  struct stat status;
  if (stat(name, &status) != 0) {
    const int error = errno;
    report_text("Load hash invoked but failed - %s could not be queried, error: %s (%d).", name,
                std::strerror(error), error);
    return;
  }
  const uint64_t bytes = uint64_t(status.st_size);
  FILE* file = std::fopen(name, "rb");
  if (!file) {
    const int error = errno;
    report_text("Load hash invoked but failed - %s (%d mb) could not be opened for reading, error: %s (%d).", name,
                int(bytes >> 20), std::strerror(error), error);
    return;
  }
  // The file's whole megabytes, as they are: a table of any whole number of
  // megabytes works, only the bucket index then leaves some buckets unused.
  // A 32-bit index reaches no further than 2^32 words.
  const uint64_t file_megabytes = bytes >> 20 < MAX_TABLE_MEGABYTES ? bytes >> 20 : MAX_TABLE_MEGABYTES;
  const uint32_t megabytes = size_configured ? hash_megabytes : uint32_t(file_megabytes);
  // The children restart with the new table.
  const HashBuildReport report = build_process_pool(megabytes);
  ReportHashBuild(report);
  if (report.megabytes) hash_megabytes = report.megabytes;
  if (!report.ok && !report.megabytes) {
    report_text("Load hash invoked but failed - could not allocate %d mb of hash.", int(megabytes));
    std::fclose(file);
    return;
  }
  // A file larger than the table fills the table and no more.
  const uint64_t wanted = bytes / 8 < hash_words ? bytes / 8 : hash_words;
  std::vector<uint64_t> chunk(CHUNK_WORDS);
  uint64_t read = 0;
  while (read < wanted) {
    const size_t count = size_t(wanted - read < CHUNK_WORDS ? wanted - read : CHUNK_WORDS);
    const size_t done = std::fread(chunk.data(), sizeof(uint64_t), count, file);
    for (size_t i = 0; i < done; ++i) HashWrite(read + i, chunk[i]);
    read += done;
    if (done < count) break;
  }
  if (read == wanted) {
    report_text("Load hash invoked and succeeded - %d mb loaded from %s.", int(wanted * 8 >> 20), name);
  } else {
    const int error = errno;
    report_text("Load hash invoked but failed - %s (%d mb) could not be read from, error: %s (%d).", name,
                int(bytes >> 20), std::strerror(error), error);
  }
  std::fclose(file);
}
