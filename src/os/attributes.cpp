#include "os/attributes.h"

#include <sys/stat.h>
#include <sys/xattr.h>

#include <cerrno>
#include <charconv>
#include <optional>

#include "errors/error_map.h"

namespace velmora::os {

namespace {

constexpr const char* kAttrName = "user.DOSATTRIB";

// The mark as Samba's legacy writer left it: "0x" and lower-case hex, no NUL.
std::optional<uint32_t> ReadMark(const std::string& path) {
  char buf[64];
  const ssize_t n = getxattr(path.c_str(), kAttrName, buf, sizeof buf - 1);
  if (n <= 2 || buf[0] != '0' || (buf[1] != 'x' && buf[1] != 'X')) return std::nullopt;
  size_t end = static_cast<size_t>(n);
  while (end > 2 && buf[end - 1] == '\0') --end;
  uint32_t value = 0;
  const auto [ptr, ec] = std::from_chars(buf + 2, buf + end, value, 16);
  if (ec != std::errc() || ptr != buf + end) return std::nullopt;
  return value;
}

}  // namespace

uint32_t GetAttributes(const std::string& path, const std::string& source) {
  struct stat st{};
  if (stat(path.c_str(), &st) != 0) errors::RaiseErrno(errno, source);
  uint32_t attributes = ReadMark(path).value_or(kAttrArchive) & (kAttrHidden | kAttrArchive);
  if (!(st.st_mode & S_IWUSR)) attributes |= kAttrReadOnly;
  return attributes;
}

void SetAttributes(const std::string& path, uint32_t attributes, const std::string& source) {
  struct stat st{};
  if (stat(path.c_str(), &st) != 0) errors::RaiseErrno(errno, source);
  // Write permission first: the extended attribute needs it.
  if (chmod(path.c_str(), (st.st_mode | S_IWUSR) & 07777) != 0) errors::RaiseErrno(errno, source);
  char text[16] = {'0', 'x'};
  const auto [end, ec] = std::to_chars(text + 2, text + sizeof text, attributes & (kAttrHidden | kAttrArchive), 16);
  (void)ec;
  if (setxattr(path.c_str(), kAttrName, text, static_cast<size_t>(end - text), 0) != 0) errors::RaiseErrno(errno, source);
  if (attributes & kAttrReadOnly) {
    if (chmod(path.c_str(), st.st_mode & 07777 & ~static_cast<mode_t>(S_IWUSR | S_IWGRP | S_IWOTH)) != 0)
      errors::RaiseErrno(errno, source);
  }
}

bool ExistsNotHidden(const std::string& path) {
  struct stat st{};
  if (stat(path.c_str(), &st) != 0) return false;
  return !(ReadMark(path).value_or(kAttrArchive) & kAttrHidden);
}

}  // namespace velmora::os
