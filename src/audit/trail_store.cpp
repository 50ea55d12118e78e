#include "audit/trail_store.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <map>
#include <unordered_set>

#include "core/boundary.h"
#include "core/layout.h"
#include "os/file_io.h"
#include "os/files.h"
#include "ini/profile_rules.h"
#include "audit/trail_queue.h"
#include "vbcompat/text.h"

namespace velmora::audit {

namespace {

constexpr char kIndexMagic[8] = {'V', 'L', 'M', 'T', 'I', 'D', 'X', '1'};
constexpr char kJournalMagic[8] = {'V', 'L', 'M', 'T', 'J', 'N', 'L', '1'};
constexpr uint64_t kMinSlots = 1024;
constexpr size_t kChunk = 1 << 20;

struct IndexHeader {
  char magic[8];
  uint64_t dev, ino, size;
  int64_t mtimeSec, mtimeNsec;
  uint64_t slots, used;
};

struct Slot {
  uint64_t hash;    // 0: empty
  uint64_t offset;  // where the section's header line starts
};

uint64_t Hash(std::string_view text) {
  uint64_t h = 1469598103934665603ull;
  for (const char c : text) h = (h ^ static_cast<unsigned char>(c)) * 1099511628211ull;
  return h ? h : 1;
}

using os::ReadAt;
using os::WriteAt;

std::string ReadRange(int fd, uint64_t from, uint64_t to) {
  std::string data(to > from ? to - from : 0, '\0');
  if (!data.empty() && !ReadAt(fd, data.data(), data.size(), from)) data.clear();
  return data;
}

std::string Sibling(const std::string& file, std::string_view suffix) {
  const std::string folder = os::FolderOf(file);
  const auto slash = file.rfind('/');
  return folder + core::layout::HiddenCompanion(slash == std::string::npos ? file : file.substr(slash + 1), suffix);
}

// Calls f(offset, name) for each section header that starts a line in `data`, which lies at
// `base` in the file; `atLineStart` says whether `base` starts a line.
template <class F>
void ForEachHeader(std::string_view data, uint64_t base, bool atLineStart, F&& f) {
  size_t i = 0;
  bool start = atLineStart;
  while (i < data.size()) {
    size_t j = i;
    while (j < data.size() && data[j] != '\r' && data[j] != '\n') ++j;
    if (start)
      if (auto name = ini::HeaderName(data.substr(i, j - i))) f(base + i, *name);
    if (j >= data.size()) break;
    j += (data[j] == '\r' && j + 1 < data.size() && data[j + 1] == '\n') ? 2 : 1;
    i = j;
    start = true;
  }
}

// Whether a line starts at `offset`, which is followed by `next`.
bool LineStartsAt(int fd, uint64_t offset, char next) {
  if (offset == 0) return true;
  char before[3] = {};
  if (offset == 3 && ReadAt(fd, before, 3, 0) && std::string_view(before, 3) == ini::kBom) return true;
  if (!ReadAt(fd, before, 1, offset - 1)) return false;
  return before[0] == '\n' || (before[0] == '\r' && next != '\n');
}

// The open trail: the file, its index, the lock that covers both.
class Trail {
 public:
  explicit Trail(std::string file) : file_(std::move(file)) {}

  // Opens (creating it when `create`) under the folder lock and finishes any interrupted change.
  bool Open(bool create) {
    if (!lock_.Held()) {
      errno = lock_.Error();
      return false;
    }
    fd_.reset(os::OpenRegular(file_, create ? O_RDWR | O_CREAT : O_RDWR));
    if (!fd_.valid()) return false;
    return Recover();
  }
  Trail(const Trail&) = delete;
  Trail& operator=(const Trail&) = delete;

  // Where the first section of that name starts.
  std::optional<uint64_t> Find(const std::string& section) {
    const std::string folded = ini::FoldedName(section);
    const uint64_t h = Hash(folded);
    for (uint64_t n = 0, i = h & (header_.slots - 1); n < header_.slots; ++n, i = (i + 1) & (header_.slots - 1)) {
      const Slot slot = SlotAt(i);
      if (slot.hash == 0) break;
      if (slot.hash == h && HeaderAt(slot.offset, folded)) return slot.offset;
    }
    return std::nullopt;
  }

  // The section starting at `from`: its bytes up to the next header or the end. A header missed
  // (a line longer than a chunk) only makes the section look longer, which costs bytes, never
  // correctness: the rules re-read the text they are given.
  uint64_t SectionEnd(uint64_t from) {
    const uint64_t size = Size();
    bool lineStart = true;
    for (uint64_t at = from; at < size;) {
      const std::string chunk = ReadRange(fd_.get(), at, std::min(size, at + 4096));
      if (chunk.empty()) break;
      std::optional<uint64_t> end;
      ForEachHeader(chunk, at, lineStart, [&](uint64_t off, const std::string&) {
        if (off != from && !end) end = off;
      });
      if (end) return *end;
      at += chunk.size();
      lineStart = chunk.back() == '\n' || chunk.back() == '\r';
    }
    return size;
  }

  uint64_t Size() const { return os::StatusOf(fd_.get()).value_or(os::FileStatus{}).size; }
  int fd() const { return fd_.get(); }
  bool Locked() const { return lock_.Held(); }

  // Puts `bytes` at `offset` (through the journal) and leaves the file `newSize` long.
  bool Change(uint64_t offset, const std::string& bytes, uint64_t newSize) {
    if (!EnsureRoom()) return false;
    std::string journal(kJournalMagic, 8);
    for (const uint64_t v : {offset, newSize, static_cast<uint64_t>(bytes.size())})
      journal.append(reinterpret_cast<const char*>(&v), 8);
    journal += bytes;
    const uint64_t sum = Hash(journal);
    journal.append(reinterpret_cast<const char*>(&sum), 8);
    {
      os::Descriptor out(os::OpenRegular(TrailJournalPath(file_), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW));
      if (out.get() < 0 || !WriteAt(out.get(), journal.data(), journal.size(), 0)) return false;
    }
    return Apply(offset, bytes, newSize);
  }

 private:
  bool Recover() {
    os::Descriptor in(os::OpenRegular(TrailJournalPath(file_), O_RDONLY | O_NOFOLLOW));
    if (in.get() < 0 && errno != ENOENT) return false;
    if (in.get() >= 0) {
      const std::string journal = ReadRange(in.get(), 0, os::StatusOf(in.get()).value_or(os::FileStatus{}).size);
      uint64_t offset = 0, newSize = 0, length = 0, sum = 0;
      // A journal cut short was never acted on: the file is as it was before it.
      if (journal.size() >= 40 && journal.compare(0, 8, kJournalMagic, 8) == 0) {
        std::memcpy(&offset, journal.data() + 8, 8);
        std::memcpy(&newSize, journal.data() + 16, 8);
        std::memcpy(&length, journal.data() + 24, 8);
        if (journal.size() == 40 + length) {
          std::memcpy(&sum, journal.data() + 32 + length, 8);
          if (sum == Hash(std::string_view(journal).substr(0, 32 + length))) {
            if (!OpenIndex(false)) return false;
            if (!Apply(offset, journal.substr(32, length), newSize)) return false;
            return true;
          }
        }
      }
      os::RemoveFile(TrailJournalPath(file_));
    }
    return OpenIndex(true);
  }

  bool Apply(uint64_t offset, const std::string& bytes, uint64_t newSize) {
    if (!WriteAt(fd_.get(), bytes.data(), bytes.size(), offset)) return false;
    if (Size() != newSize && !os::Truncate(fd_.get(), newSize)) return false;
    if (index_.valid()) Reindex(offset, bytes);
    if (!index_.valid() || !SaveHeader()) {
      if (!Rebuild()) return false;
    }
    os::RemoveFile(TrailJournalPath(file_));
    return true;
  }

  // The sections in `bytes`, now at `offset`: each finds its entry (one at or after `offset`)
  // or gets a new one, unless an earlier section of the same name keeps the name.
  void Reindex(uint64_t offset, std::string_view bytes) {
    std::map<uint64_t, bool> touched;
    const bool lineStart = bytes.empty() || LineStartsAt(fd_.get(), offset, bytes[0]);
    ForEachHeader(bytes, offset, lineStart, [&](uint64_t at, const std::string& name) {
      const std::string folded = ini::FoldedName(name);
      const uint64_t h = Hash(folded);
      std::optional<uint64_t> candidate, empty;
      for (uint64_t n = 0, i = h & (header_.slots - 1); n < header_.slots; ++n, i = (i + 1) & (header_.slots - 1)) {
        const Slot slot = SlotAt(i);
        if (slot.hash == 0) {
          empty = i;
          break;
        }
        if (slot.hash != h) continue;
        if (slot.offset < offset || touched.count(i)) {
          if (HeaderAt(slot.offset, folded)) return;  // the first of that name stays first
        } else if (!candidate) {
          candidate = i;
        }
      }
      if (!candidate && !empty) return;  // a full table is rebuilt by the next writer
      const uint64_t i = candidate ? *candidate : *empty;
      if (!candidate) ++header_.used;
      PutSlot(i, Slot{h, at});
      touched[i] = true;
    });
  }

  bool HeaderAt(uint64_t offset, const std::string& folded) {
    char buffer[512];
    const uint64_t size = Size();
    if (offset >= size) return false;
    const size_t n = static_cast<size_t>(std::min<uint64_t>(sizeof buffer, size - offset));
    if (!ReadAt(fd_.get(), buffer, n, offset) || !LineStartsAt(fd_.get(), offset, buffer[0])) return false;
    std::string_view line(buffer, n);
    line = line.substr(0, line.find_first_of("\r\n"));
    const auto name = ini::HeaderName(line);
    return name && ini::FoldedName(*name) == folded;
  }

  Slot SlotAt(uint64_t i) const {
    Slot slot{};
    if (!ReadAt(index_.get(), &slot, sizeof slot, sizeof(IndexHeader) + i * sizeof(Slot))) slot = Slot{};
    return slot;
  }
  void PutSlot(uint64_t i, const Slot& slot) const {
    WriteAt(index_.get(), &slot, sizeof slot, sizeof(IndexHeader) + i * sizeof(Slot));
  }

  void Sign(IndexHeader& header) const {
    const os::FileStatus st = os::StatusOf(fd_.get()).value_or(os::FileStatus{});
    header.dev = st.device;
    header.ino = st.inode;
    header.size = st.size;
    header.mtimeSec = st.modified.tv_sec;
    header.mtimeNsec = st.modified.tv_nsec;
  }
  bool SaveHeader() {
    Sign(header_);
    return WriteAt(index_.get(), &header_, sizeof header_, 0);
  }

  // Opens the index; with `checkSigned` it must also describe the file as it is now.
  bool OpenIndex(bool checkSigned) {
    index_.reset(os::OpenRegular(TrailIndexPath(file_), O_RDWR | O_NOFOLLOW));
    if (index_.valid()) {
      const uint64_t indexSize = os::StatusOf(index_.get()).value_or(os::FileStatus{}).size;
      IndexHeader expected{};
      Sign(expected);
      const bool valid = ReadAt(index_.get(), &header_, sizeof header_, 0) &&
                         std::memcmp(header_.magic, kIndexMagic, 8) == 0 && header_.slots >= kMinSlots &&
                         (header_.slots & (header_.slots - 1)) == 0 &&
                         indexSize == sizeof(IndexHeader) + header_.slots * sizeof(Slot) &&
                         header_.dev == expected.dev && header_.ino == expected.ino &&
                         (!checkSigned || (header_.size == expected.size && header_.mtimeSec == expected.mtimeSec &&
                                           header_.mtimeNsec == expected.mtimeNsec));
      if (valid) return true;
      index_.reset();
    }
    return checkSigned ? Rebuild() : true;
  }

  // A new index from the file itself, or from the old index with twice the room.
  bool Rebuild(const std::vector<Slot>* entries = nullptr) {
    std::vector<Slot> found;
    if (!entries) {
      std::unordered_set<uint64_t> seen;
      const uint64_t size = Size();
      uint64_t at = 0;
      std::string carry;
      bool first = true;
      while (at < size) {
        std::string chunk = carry + ReadRange(fd_.get(), at, std::min(size, at + kChunk));
        const uint64_t base = at - carry.size();
        at = std::min(size, at + kChunk);
        size_t start = 0;
        if (first && base == 0 && chunk.compare(0, 3, ini::kBom) == 0) start = 3;
        first = false;
        size_t last = at == size ? chunk.size() - 1 : chunk.find_last_of("\r\n");
        if (last == std::string::npos || last < start) last = start - 1;  // no whole line yet
        ForEachHeader(std::string_view(chunk).substr(start, last + 1 - start), base + start, true,
                      [&](uint64_t off, const std::string& name) {
                        const uint64_t h = Hash(ini::FoldedName(name));
                        if (seen.insert(h).second) found.push_back(Slot{h, off});
                      });
        carry = chunk.substr(last + 1);
      }
      entries = &found;
    }
    uint64_t slots = kMinSlots;
    while (slots < entries->size() * 2 + 2) slots *= 2;
    std::vector<Slot> table(slots);
    for (const Slot& e : *entries) {
      uint64_t i = e.hash & (slots - 1);
      while (table[i].hash != 0) i = (i + 1) & (slots - 1);
      table[i] = e;
    }
    IndexHeader header{};
    std::memcpy(header.magic, kIndexMagic, 8);
    header.slots = slots;
    header.used = entries->size();
    Sign(header);
    std::string bytes(reinterpret_cast<const char*>(&header), sizeof header);
    bytes.append(reinterpret_cast<const char*>(table.data()), table.size() * sizeof(Slot));
    // The index is a shortcut: one that cannot be written is reported as a failed build.
    if (!core::Quietly([&] { os::WriteFileAtomic(TrailIndexPath(file_), bytes, "CAuditor.Save"); })) return false;
    index_.reset(os::OpenRegular(TrailIndexPath(file_), O_RDWR | O_NOFOLLOW));
    header_ = header;
    return index_.valid();
  }

  // Keeps the index at most half full before a change adds to it.
  bool EnsureRoom() {
    if ((header_.used + 1) * 2 <= header_.slots) return true;
    std::vector<Slot> table(header_.slots), entries;
    if (!ReadAt(index_.get(), table.data(), table.size() * sizeof(Slot), sizeof(IndexHeader))) return Rebuild();
    for (const Slot& s : table)
      if (s.hash != 0) entries.push_back(s);
    return Rebuild(&entries);
  }

  std::string file_;
  os::FolderLock lock_{file_};
  os::Descriptor fd_;
  os::Descriptor index_;
  IndexHeader header_{};
};

}  // namespace

std::string TrailIndexPath(const std::string& file) { return Sibling(file, core::layout::kTrailIndexSuffix); }
std::string TrailJournalPath(const std::string& file) { return Sibling(file, core::layout::kTrailJournalSuffix); }

namespace {

bool Write(Trail& trail, const std::string& sec, const TrailKeys& keys) {
  const uint64_t size = trail.Size();
  const std::optional<uint64_t> start = trail.Find(sec);
  const uint64_t end = start ? trail.SectionEnd(*start) : size;
  const std::string old = start ? ReadRange(trail.fd(), *start, end) : std::string();
  std::string updated = old;
  for (const auto& [key, value] : keys) updated = ini::Apply(updated, sec, vb::Trim(key), value);
  if (!start) {
    // A new section goes at the end, on a line of its own.
    char last = '\n';
    if (size > 0) ReadAt(trail.fd(), &last, 1, size - 1);
    if (last != '\n' && last != '\r') updated.insert(0, "\r\n");
    return trail.Change(size, updated, size + updated.size());
  }
  if (updated == old) return true;
  // Rewrite from the start of the first line that changed; what follows the section moves
  // only when the section's length changed.
  size_t from = 0;
  while (from < old.size() && from < updated.size() && old[from] == updated[from]) ++from;
  while (from > 0 && old[from - 1] != '\n' && old[from - 1] != '\r') --from;
  std::string bytes = updated.substr(from);
  if (updated.size() != old.size()) bytes += ReadRange(trail.fd(), end, size);
  return trail.Change(*start + from, bytes, size - old.size() + updated.size());
}

// Opens the trail and applies, in order, the changes other writers had to leave for later. A
// change is removed only once it is in the trail; one that fails stops the rest, so none is
// applied out of order.
bool OpenWithQueued(Trail& trail, const std::string& file, bool create) {
  if (!trail.Locked()) return trail.Open(create);  // fails with the lock's error, reads nothing
  const auto queued = QueuedTrailChanges(file);
  if (!trail.Open(create || !queued.empty())) return false;
  for (const auto& change : queued) {
    if (!Write(trail, change.section, change.keys)) return false;
    os::RemoveFile(change.path);
  }
  return true;
}

}  // namespace

bool WriteTrailKeys(const std::string& file, const std::string& section,
                    const std::vector<std::pair<std::string, std::string>>& keys) {
  const std::string sec = vb::Trim(section);
  Trail trail(file);
  if (!OpenWithQueued(trail, file, true)) {
    // Held elsewhere past the deadline: the change waits in a file of its own, not lost.
    if (errno == EWOULDBLOCK && !trail.Locked()) return QueueTrailChange(file, sec, keys);
    return false;
  }
  return Write(trail, sec, keys);
}

bool ReadTrailSection(const std::string& file, const std::string& section, std::optional<std::string>& record) {
  record.reset();
  Trail trail(file);
  if (!OpenWithQueued(trail, file, false)) return errno == ENOENT;
  if (const auto start = trail.Find(vb::Trim(section))) record = ReadRange(trail.fd(), *start, trail.SectionEnd(*start));
  return true;
}

bool RecoverTrail(const std::string& file) {
  Trail trail(file);
  return OpenWithQueued(trail, file, false) || errno == ENOENT;
}

}  // namespace velmora::audit
