#include <sys/stat.h>
#include <sys/xattr.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <filesystem>

#include "os/attributes.h"
#include "os/files.h"
#include "os/paths.h"
#include "os/process.h"
#include "vbcompat/text.h"
#include "support/test_support.h"
#include "velmora/error.h"

namespace velmora::os {
namespace {

using velmora::testing::ErrorNumber;
using velmora::testing::RuntimeFolder;

unsigned ModeOf(const std::string& path) {
  struct stat st{};
  stat(path.c_str(), &st);
  return st.st_mode & 0777;
}

TEST(Files, CreatedPrivateAndWholeAfterAtomicWrite) {
  RuntimeFolder folder("", false);
  WriteFileAtomic(folder.Path("a.xml"), "<a/>", "t");
  MakeDirectory(folder.Path("Enviados"), "t");
  MakeDirectory(folder.Path("Enviados"), "t");  // an existing folder is fine
  for (const char* line : {"line\r\n", "line2\r\n"}) AppendToFile(folder.Path("x.log"), [] { return std::string("head\r\n"); }, line, "t");
  EXPECT_EQ(folder.Read("a.xml"), "<a/>");
  EXPECT_EQ(folder.Read("x.log"), "head\r\nline\r\nline2\r\n");
  for (const auto& [name, mode] : {std::pair{"a.xml", 0600u}, {"x.log", 0600u}, {"Enviados", 0700u}})
    EXPECT_EQ(ModeOf(folder.Path(name)), mode) << name;
}

TEST(Files, FailuresCarryThePlatformNumbers) {
  RuntimeFolder folder("", false);
  try {
    WriteFileAtomic(folder.Path("nowhere/a.xml"), "x", "CFoo.Bar");
    FAIL();
  } catch (const Error& e) {
    EXPECT_EQ(e.Number, 53);
    EXPECT_EQ(e.Source, "CFoo.Bar");
    EXPECT_EQ(e.Description, "No se encontró el archivo");
  }
  EXPECT_NO_THROW(DeleteFile(folder.Path("missing"), "t"));
  for (const auto& [path, number] : {std::pair{folder.Path("missing"), 53}, std::pair{folder.Root(), 75}})
    EXPECT_EQ(ErrorNumber([&] { ReadFileOrRaise(path, "cPDF.CreaBloque"); }), number) << path;
}

auto ThreadCount() { return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}); }

// A folder lock held elsewhere costs one full wait, then short ones until this process gets the
// lock again, and the full wait once more after that; every wait ends at its deadline with
// EWOULDBLOCK and leaves no thread behind.
TEST(FolderLock, WaitEndsAtItsDeadlineAndLeavesNoThread) {
  RuntimeFolder folder("", false);
  const auto threads = ThreadCount();
  for (const int round : {0, 1}) {
    auto holder = velmora::testing::HoldFolderLocks({folder.Root()});
    for (const auto wait : {kLockWait, kLockWaitWhenStuck, kLockWaitWhenStuck}) {
      const auto start = std::chrono::steady_clock::now();
      FolderLock lock(folder.Path("a.ini"));
      const auto took = std::chrono::steady_clock::now() - start;
      EXPECT_FALSE(lock.Held()) << round;
      EXPECT_EQ(lock.Error(), EWOULDBLOCK);
      EXPECT_GE(took, wait);
      EXPECT_LT(took, wait + std::chrono::milliseconds(250));
    }
    EXPECT_LE(ThreadCount(), threads);
    holder.reset();
    EXPECT_TRUE(FolderLock(folder.Path("a.ini")).Held());
  }
}

TEST(Attributes, HiddenMarkIsTheSambaText) {
  RuntimeFolder folder("", false);
  const std::string f = folder.Path("r.xml");
  folder.Write("r.xml", "x");
  EXPECT_EQ(GetAttributes(f, "t"), kAttrArchive);  // no mark: archive
  SetAttributes(f, kAttrHidden, "t");
  char buf[16] = {};
  ASSERT_EQ(getxattr(f.c_str(), "user.DOSATTRIB", buf, sizeof buf), 3);
  EXPECT_STREQ(buf, "0x2");
  EXPECT_EQ(GetAttributes(f, "t"), kAttrHidden);
  EXPECT_FALSE(ExistsNotHidden(f));
  SetAttributes(f, kAttrHidden | kAttrReadOnly, "t");
  EXPECT_EQ(GetAttributes(f, "t"), kAttrHidden | kAttrReadOnly);
  SetAttributes(f, kAttrArchive, "t");
  EXPECT_EQ(GetAttributes(f, "t"), kAttrArchive);
  EXPECT_TRUE(ExistsNotHidden(f));
  EXPECT_EQ(ErrorNumber([&] { GetAttributes(folder.Path("gone.xml"), "CInterface.WaitResponse"); }), 53);
}

TEST(Process, SpawnRunsWithoutAShellAndMissingProgramIs53) {
  RuntimeFolder folder("", false);
  SpawnDetached({"/bin/touch", folder.Path("made by child")}, folder.Root(), "t");
  EXPECT_TRUE(testing::WaitFor([&] { return PathExists(folder.Path("made by child")); }, std::chrono::seconds(10)));
  EXPECT_EQ(ErrorNumber([&] { SpawnDetached({folder.Path("executor.exe")}, folder.Root(), "t"); }), 53);
}

// A run that outlasts its wait is killed with what it started (its process group), not left
// running behind the till; only an exit with 0 in time counts.
TEST(Process, RunWithDeadlineKillsTheWholeGroupAtTheDeadline) {
  RuntimeFolder folder("", false);
  for (const auto& [program, ok] : {std::pair{std::string("/bin/true"), true}, {"/bin/false", false}, {folder.Path("missing"), false}})
    EXPECT_EQ(RunWithDeadline({program}, std::chrono::seconds(10)), ok) << program;
  const std::string pidFile = folder.Path("grandchild");
  EXPECT_FALSE(RunWithDeadline({"/bin/sh", "-c", "sleep 600 & echo $! > \"$0\"; wait", pidFile},
                               std::chrono::milliseconds(1500)));
  const auto pid = ReadWholeFile(pidFile);
  ASSERT_TRUE(pid && !pid->empty()) << "the child never started its own";
  const std::string stat = "/proc/" + std::to_string(std::stoi(*pid)) + "/stat";
  // Gone, or a zombie waiting for whoever inherited it.
  EXPECT_TRUE(velmora::testing::WaitFor([&] {
    const auto text = ReadWholeFile(stat);
    return !text || text->find(") Z ") != std::string::npos;
  }, std::chrono::seconds(10)));
}

TEST(Text, TrimUpperAndWindows1252) {
  EXPECT_EQ(vb::Trim("  a b \t "), "a b \t");
  EXPECT_EQ(vb::UpperCase("codigoAviso ñ"), "CODIGOAVISO ñ");
  // The five bytes the code page leaves undefined map to themselves, as Windows converts them.
  EXPECT_EQ(vb::Cp1252ToUtf8("\xF3\x80\x81"), "ó€\xC2\x81");
  const std::pair<const char*, bool> utf8[] = {
      {"", true}, {"a\xC3\xB1o", true}, {"\xE2\x82\xAC", true}, {"\xF0\x9F\x92\x8A", true},
      {"\xF4\x8F\xBF\xBF", true},                         // U+10FFFF, the last one
      {"a\xF1o", false}, {"\x80", false}, {"\xC3", false}, {"\xE2\x82", false},  // Latin-1, stray, cut short
      {"\xC0\xAF", false}, {"\xE0\x80\xAF", false},          // overlong "/"
      {"\xED\xA0\x80", false}, {"\xF4\x90\x80\x80", false},  // a surrogate, above U+10FFFF
      {"\xF8\x88\x80\x80\x80", false}, {"\xC3\x28", false}, // five-byte form, lead byte then ASCII
  };
  for (const auto& [bytes, valid] : utf8) EXPECT_EQ(vb::IsValidUtf8(bytes), valid) << bytes;
}

}  // namespace
}  // namespace velmora::os
