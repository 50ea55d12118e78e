#include "ini/profile.h"

#include <stdlib.h>
#include <sys/stat.h>

#include <cerrno>
#include <memory>

#include "os/file_io.h"
#include "os/files.h"
#include "ini/profile_rules.h"
#include "vbcompat/text.h"
#include "velmora/error.h"

namespace velmora::ini {

namespace {

using Update = std::function<std::optional<std::string>(const std::optional<std::string>&)>;

// The file a write really changes: a symlinked ini is shared on purpose, so the write goes to
// its target instead of replacing the link with a private copy.
std::string WriteTarget(const std::string& file) {
  std::unique_ptr<char, decltype(&free)> real(realpath(file.c_str(), nullptr), &free);
  return real ? std::string(real.get()) : file;
}

// Reads, changes and durably replaces `file` under the folder lock. A read-only file is refused
// (EACCES), as the Windows writer refused it, instead of being replaced by a writable one.
bool Rewrite(const std::string& file, const std::function<std::optional<std::string>(const std::string&)>& change) {
  const std::string target = WriteTarget(file);
  os::FolderLock lock(target);
  if (!lock.Held()) {
    errno = lock.Error();
    return false;
  }
  unsigned mode = os::kFileMode;
  std::string data;
  if (const auto st = os::StatusOf(target)) {
    if (!(st->permissions & S_IWUSR)) {
      errno = EACCES;
      return false;
    }
    const auto current = os::ReadWholeFile(target);
    if (!current) return false;
    data = *current;
    mode = st->permissions;
  }
  const std::optional<std::string> updated = change(data);
  if (!updated) return true;
  try {
    os::ReplaceFileDurably(target, *updated, mode, "WritePrivateProfileString");
  } catch (const Error&) {
    if (errno == 0) errno = EIO;
    return false;
  }
  return true;
}

}  // namespace

std::string ReadProfileString(const std::string& file, const std::string& section, const std::string& key,
                              const std::string& defaultValue, size_t bufferSize) {
  std::string value;
  const auto data = os::ReadWholeFile(file);
  std::optional<std::string> found;
  if (data) found = ini::Lookup(*data, vb::Trim(section), vb::Trim(key));
  if (found) {
    value = std::move(*found);
  } else {
    value = defaultValue;
    while (!value.empty() && value.back() == ' ') value.pop_back();
  }
  if (bufferSize == 0) return {};
  // At most bufferSize - 1 characters, never cutting a UTF-8 sequence.
  size_t chars = 0, i = 0;
  while (i < value.size()) {
    if (chars == bufferSize - 1) {
      value.resize(i);
      break;
    }
    ++i;
    while (i < value.size() && (static_cast<unsigned char>(value[i]) & 0xC0) == 0x80) ++i;
    ++chars;
  }
  return value;
}

bool WriteProfileString(const std::string& file, const std::string& section, const std::string& key,
                        const std::optional<std::string>& value) {
  const std::string sec = vb::Trim(section), k = vb::Trim(key);
  return Rewrite(file, [&](const std::string& data) -> std::optional<std::string> {
    if (!value && !ini::Lookup(data, sec, k)) return std::nullopt;
    return ini::Apply(data, sec, k, value);
  });
}

bool UpdateProfileString(const std::string& file, const std::string& section, const std::string& key,
                         const Update& update) {
  const std::string sec = vb::Trim(section), k = vb::Trim(key);
  return Rewrite(file, [&](const std::string& data) -> std::optional<std::string> {
    const std::optional<std::string> next = update(ini::Lookup(data, sec, k));
    if (!next) return std::nullopt;
    return ini::Apply(data, sec, k, next);
  });
}

}  // namespace velmora::ini
