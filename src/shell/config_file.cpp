#include "shell/config_file.h"

#include <strings.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "hash/table.h"
#include "report/diagram.h"
#include "report/output.h"
#include "shell/identity.h"
#include "shell/options.h"
#include "tablebase/tablebase_settings.h"

uint32_t configured_hash_megabytes = 32;
bool log_analysis = false;
int32_t visualizer_count = 1;
bool visualizer_log = true;
char visualizer_path[VISUALIZER_SLOTS][CONFIG_TEXT_SIZE];
char visualizer_init[VISUALIZER_SLOTS][CONFIG_TEXT_SIZE];

namespace {

enum class ValueKind { Text, Boolean, Number };

struct ConfigKey {
  char name[32];
  ValueKind kind;
  void* target;        // char[size], bool or int32_t
  size_t size;         // of a text target
  bool* configured;    // set when the key is present; null for keys nothing refuses
};

char engine_name_text[CONFIG_TEXT_SIZE];
int32_t hash_size_value = 32;

constexpr int FIXED_KEYS = 18;
constexpr int KEY_COUNT = FIXED_KEYS + 2 * VISUALIZER_SLOTS;

// The keys in the reader's order; the Visualizer slots follow the fixed
// keys, Path before Init for each.
struct KeyTable {
  ConfigKey key[KEY_COUNT];
  KeyTable() {
    const ConfigKey fixed[FIXED_KEYS] = {
        {"Engine Name", ValueKind::Text, engine_name_text, sizeof(engine_name_text), nullptr},
        {"Send Text Reports", ValueKind::Boolean, &send_text_reports, 0, nullptr},
        {"Hash Size", ValueKind::Number, &hash_size_value, 0, &configured.hash_size},
        {"Max CPUs", ValueKind::Number, &max_cpus, 0, &configured.max_cpus},
        {"Use Large Pages", ValueKind::Boolean, &use_large_pages, 0, &configured.large_pages},
        {"Nalimov Path", ValueKind::Text, nalimov_path, sizeof(nalimov_path), &configured.nalimov_path},
        {"Nalimov Cache", ValueKind::Number, &nalimov_cache_mb, 0, &configured.nalimov_cache},
        {"Nalimov Probe Frequency", ValueKind::Number, &nalimov_probe_frequency, 0,
         &configured.nalimov_probe_frequency},
        {"Log Directory", ValueKind::Text, log_directory, sizeof(log_directory), &configured.log_directory},
        {"Log Uci", ValueKind::Boolean, &configured_log_uci_value, 0, &configured.log_uci},
        {"Log Analysis", ValueKind::Boolean, &log_analysis, 0, &configured.log_analysis},
        {"Log Html", ValueKind::Boolean, &configured_log_html_value, 0, &configured.log_html},
        {"Use Big Log Diagrams", ValueKind::Boolean, &big_log_diagrams, 0, nullptr},
        {"Lines Per Log Page", ValueKind::Number, &lines_per_log_page, 0, nullptr},
        {"Diagram For Every Position", ValueKind::Boolean, &diagram_every_position, 0, nullptr},
        {"UCI Log Skip Fluff", ValueKind::Boolean, &log_skip_fluff, 0, nullptr},
        {"Visualizer Count", ValueKind::Number, &visualizer_count, 0, nullptr},
        {"Visualizer Log", ValueKind::Boolean, &visualizer_log, 0, nullptr},
    };
    for (int i = 0; i < FIXED_KEYS; ++i) key[i] = fixed[i];
    for (int slot = 0; slot < VISUALIZER_SLOTS; ++slot) {
      ConfigKey& path = key[FIXED_KEYS + 2 * slot];
      ConfigKey& init = key[FIXED_KEYS + 2 * slot + 1];
      path = {{}, ValueKind::Text, visualizer_path[slot], CONFIG_TEXT_SIZE, nullptr};
      init = {{}, ValueKind::Text, visualizer_init[slot], CONFIG_TEXT_SIZE, nullptr};
      std::snprintf(path.name, sizeof(path.name), "Visualizer %d Path", slot + 1);
      std::snprintf(init.name, sizeof(init.name), "Visualizer %d Init", slot + 1);
    }
  }
};
const KeyTable KEYS;

// Units and separators a hand-written file puts around a key; they are
// skipped on both sides of the match.
const char* skip_filler(const char* p) {
  static const char* const UNITS[] = {"(%)", "(s)", "(ms)", "(mp)", "(mb)", "(mhz)", "milliseconds", "millipawns"};
  for (;;) {
    if (*p == ':' || *p == ' ' || *p == '\r' || *p == '\n') {
      ++p;
      continue;
    }
    bool unit = false;
    for (const char* word : UNITS) {
      const size_t length = std::strlen(word);
      if (strncasecmp(p, word, length) == 0) {
        p += length;
        unit = true;
        break;
      }
    }
    if (!unit) return p;
  }
}

bool line_break(char c) { return c == ' ' || c == '\r' || c == '\n'; }

void read_text(const char* value, char* target, size_t size) {
  while (line_break(*value)) ++value;
  const size_t length = std::strcspn(value, "\r\n");
  std::snprintf(target, size, "%.*s", int(length), value);
}

void read_value(const ConfigKey& key, const char* value) {
  switch (key.kind) {
    case ValueKind::Text:
      read_text(value, static_cast<char*>(key.target), key.size);
      break;
    case ValueKind::Boolean:
      *static_cast<bool*>(key.target) = strncasecmp(value, "true", 4) == 0;
      break;
    case ValueKind::Number:
      *static_cast<int32_t*>(key.target) = int32_t(std::atoi(value));
      break;
  }
  if (key.configured) *key.configured = true;
  if (key.target == engine_name_text) std::snprintf(engine_name, sizeof(engine_name), "%.*s", int(sizeof(engine_name) - 1), engine_name_text);
  if (key.target == &hash_size_value) configured_hash_megabytes = uint32_t(hash_size_value);
  // The directory goes straight in front of the file names.
  if (key.target == log_directory) {
    const size_t length = std::strlen(log_directory);
    if (length && log_directory[length - 1] != '/' && length + 1 < sizeof(log_directory))
      std::strcat(log_directory, "/");
  }
}

const char* true_false(bool on) { return on ? "True" : "False"; }

// A key only the file can set: its value, or "-" when the file left it out.
const char* configured_number(bool present, int64_t value, char* buffer) {
  if (!present) return "-";
  std::snprintf(buffer, 32, "%lld", static_cast<long long>(value));
  return buffer;
}

void log_setting(const char* label, const char* value) { log_note("%45s : %s", label, value); }

// A key with a default: the value, and the default behind it when it differs.
void log_marked(const char* label, const char* value, const char* default_mark) {
  log_note("%45s : %-5s %9s", label, value, default_mark);
}

void log_flag(const char* label, bool on) { log_marked(label, true_false(on), on ? "" : "(True)"); }

// A section opens with a blank line, its banner and another blank line; the
// next section's opening closes it with one more.
void log_section(const char* title) {
  log_note("%s", "");
  log_banner(title);
  log_note("%s", "");
}

void end_section() { log_note("%s", ""); }

}  // namespace

const char* find_config_key(const char* line, const char* key) {
  const char* at = line;
  const char* wanted = key;
  const char* word = line;
  for (;;) {
    at = skip_filler(at);
    wanted = skip_filler(wanted);
    if (!*wanted) return at;
    if (!*at) return nullptr;
    if (std::tolower(static_cast<unsigned char>(*at)) == std::tolower(static_cast<unsigned char>(*wanted))) {
      ++at;
      ++wanted;
      continue;
    }
    // The key may begin at the next word; a quoted word is passed whole.
    while (line_break(*word)) ++word;
    if (*word == '\'' || *word == '"') {
      const char* close = std::strchr(word + 1, *word);
      word = close ? close : word + std::strlen(word);
    }
    while (*word && !line_break(*word)) ++word;
    at = word;
    wanted = key;
  }
}

void apply_config_line(const char* line) {
  for (const ConfigKey& key : KEYS.key)
    if (const char* value = find_config_key(line, key.name)) read_value(key, value);
}

void read_config_file() {
  if (is_child) return;
  FILE* file = std::fopen(CONFIG_FILE_NAME, "r");
  if (!file) return;
  const int first = std::fgetc(file);
  if (first != EOF) {
    config_file_read = true;
    std::ungetc(first, file);
  }
  char line[8192];
  while (std::fgets(line, sizeof(line), file)) apply_config_line(line);
  std::fclose(file);
}

void log_banner(const char* title) {
  log_note("%34s%s ", "", "_________________________");
  log_note("%34s\\%23s/ ", "", "");
  log_note("%35s\\  %-17s  /  ", "", title);
  log_note("%36s\\%s/   ", "", "___________________");
}

void log_settings_report() {
  char number[32];
  log_section("     Output");
  log_setting("Engine Name", engine_name);
  log_flag("Send Text Reports", send_text_reports);

  end_section();
  log_section("    Resource Use");
  log_setting("Hash Size (Mb)", configured_number(configured.hash_size, configured_hash_megabytes, number));
  log_setting("Max CPUs", configured_number(configured.max_cpus, max_cpus, number));
  log_setting("Use Large Pages", configured.large_pages ? true_false(use_large_pages) : "-");

  end_section();
  log_section("     Tablebases");
  log_setting("Nalimov Path", configured.nalimov_path ? nalimov_path : "-");
  log_setting("Nalimov Cache", configured_number(configured.nalimov_cache, nalimov_cache_mb, number));
  log_setting("Nalimov Probe Frequency",
              configured_number(configured.nalimov_probe_frequency, nalimov_probe_frequency, number));

  end_section();
  log_section("       Logging");
  log_setting("Log Directory", configured.log_directory ? log_directory : "-");
  log_setting("Log UCI", configured.log_uci ? true_false(configured_log_uci_value) : "-");
  log_setting("Log Analysis", configured.log_analysis ? true_false(log_analysis) : "-");
  log_setting("Log Html", configured.log_html ? true_false(configured_log_html_value) : "-");
  log_flag("Use Big Log Diagrams", big_log_diagrams);
  std::snprintf(number, sizeof(number), "%d", lines_per_log_page);
  log_marked("Lines Per Log Page", number, lines_per_log_page == 1 ? "" : "(1)");
  log_flag("Diagram For Every Position", diagram_every_position);
  log_flag("UCI Log Skip Fluff", log_skip_fluff);

  end_section();
  log_section("    Visualization");
  std::snprintf(number, sizeof(number), "%d", visualizer_count);
  log_setting("Visualizer Count", number);
  log_flag("Visualizer Log", visualizer_log);
  for (int slot = 0; slot < VISUALIZER_SLOTS; ++slot) {
    char label[32];
    std::snprintf(label, sizeof(label), "Visualizer %d Path", slot + 1);
    log_setting(label, visualizer_path[slot]);
    std::snprintf(label, sizeof(label), "Visualizer %d Init", slot + 1);
    log_setting(label, visualizer_init[slot]);
  }
  end_section();
}
