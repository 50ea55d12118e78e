#include "audit/trail_store.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <optional>
#include <vector>

#include "ini/profile_write_cases.h"
#include "os/files.h"
#include "support/test_support.h"

namespace velmora::audit {
namespace {

using testing::HoldFolderLocks;
using testing::RuntimeFolder;

// The trail's in-place writer gives the bytes the whole-file ini writer gives, its index made
// before or stale.
TEST(TrailStore, WritesTheBytesOfTheProfileWriter) {
  RuntimeFolder folder("");
  for (const auto& c : ini::kWriteCases) {
    if (!c.value) continue;
    for (const std::string more : {"", "\r\n[x]\r\nk=1\r\n[y]\r\nk=1"}) {
      folder.Write("t.log", c.before);
      ASSERT_TRUE(WriteTrailKeys(folder.Path("t.log"), "zz", {{"k", "1"}}));
      folder.Write("t.log", c.before + more);
      folder.Write("t.ini", c.before + more);
      ASSERT_TRUE(WriteTrailKeys(folder.Path("t.log"), c.section, {{c.key, c.value}}));
      ASSERT_TRUE(ini::WriteProfileString(folder.Path("t.ini"), c.section, c.key, c.value));
      EXPECT_EQ(folder.Read("t.log"), folder.Read("t.ini")) << "before: " << c.before << more;
    }
  }
  // Several keys land together, a key given twice with its last value.
  ASSERT_TRUE(WriteTrailKeys(folder.Path("a.log"), "ID1", {{"A", "1"}, {"B", ""}, {"A", "2"}}));
  EXPECT_EQ(folder.Read("a.log"), "[ID1]\r\nA=2\r\nB=\r\n");
}

// A lock another process holds costs a bounded wait, and only once while it lasts. The trail's
// writes are kept meanwhile and land, in the order they were made and before any later write,
// with whoever next holds the lock, reader or writer.
TEST(TrailStore, FolderLockHeldElsewhereFailsWithinItsDeadline) {
  for (const std::string next : {"read", "write"}) {
    SCOPED_TRACE(next);
    RuntimeFolder folder("");
    const std::string trail = folder.Path("a.log");
    ASSERT_TRUE(WriteTrailKeys(trail, "s", {{"k", "0"}, {"old", "kept"}}));
    std::filesystem::create_directory(folder.Path(".queue"));
    folder.Write(".queue/a.log-00000000000000000000-1-0", "VLMTQUE1\x05");  // not a whole change: never applied
    auto holder = HoldFolderLocks({folder.Root()});
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(ini::WriteProfileString(folder.Path("velmora.ini"), "MensajeSOAP", "Enviados", "9"));
    EXPECT_EQ(errno, EWOULDBLOCK);
    const auto first = std::chrono::steady_clock::now() - start;
    std::optional<std::string> record;
    EXPECT_FALSE(ReadTrailSection(trail, "s", record));
    for (const char* value : {"1", "2", "3"}) EXPECT_TRUE(WriteTrailKeys(trail, "s", {{"k", value}}));
    EXPECT_TRUE(WriteTrailKeys(trail, "t", {{"k", "x"}}));
    EXPECT_LT(std::chrono::steady_clock::now() - start, first + os::kLockWait);
    EXPECT_EQ(folder.Read("a.log"), "[s]\r\nk=0\r\nold=kept\r\n");
    holder.reset();
    if (next == "read") {
      ASSERT_TRUE(ReadTrailSection(trail, "t", record));
      EXPECT_EQ(record, "[t]\r\nk=x\r\n");
    } else {
      EXPECT_TRUE(WriteTrailKeys(trail, "t", {{"k", "y"}}));
    }
    EXPECT_EQ(folder.Read("a.log"),
              "[s]\r\nk=3\r\nold=kept\r\n[t]\r\nk=" + std::string(next == "write" ? "y" : "x") + "\r\n");
    std::vector<std::string> left;
    for (const auto& e : std::filesystem::directory_iterator(folder.Path(".queue")))
      left.push_back(e.path().filename().string());
    EXPECT_EQ(left, std::vector<std::string>{"a.log-00000000000000000000-1-0"});
  }
}



}  // namespace
}  // namespace velmora::audit
