#include <sys/stat.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <tuple>

#include "support/context_fixture.h"
#include "os/attributes.h"

namespace velmora {
namespace {

using testing::ContextFixture;

TEST(FileAdmin, PathsHangOffTheRuntimeFolderAndFoldersAreMadeOnceAndPrivately) {
  ContextFixture f;
  // One separator between the runtime folder and what hangs off it, given with or without one.
  setenv("VELMORA_HOME", f.folder.Root().substr(0, f.folder.Root().size() - 1).c_str(), 1);
  EXPECT_EQ(CFileAdmin().GetSendedPath(), f.folder.Root() + "Enviados/");
  setenv("VELMORA_HOME", f.folder.Root().c_str(), 1);
  std::filesystem::remove(f.folder.Path("Enviados"));
  CFileAdmin files;
  EXPECT_TRUE(files.MakeSended());
  EXPECT_TRUE(files.MakeSended());
  struct stat st{};
  ASSERT_EQ(stat(f.folder.Path("Enviados").c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0700u);
  // A file where the folder should be makes the call fail and be logged, not throw.
  std::filesystem::remove(f.folder.Path("Retrasados"));
  setenv("VELMORA_HOME", f.folder.Path("nowhere/").c_str(), 1);
  EXPECT_FALSE(files.MakeDelayed());
  setenv("VELMORA_HOME", f.folder.Root().c_str(), 1);
  EXPECT_TRUE(f.LogHas("2024/02/03 09:05:07 CFileAdmin.MakeDelayed:(53)No se encontró el archivo")) << f.Log();
}

TEST(FileAdmin, ExistenceSeesHiddenFilesAndLogsTheirAttributes) {
  ContextFixture f;
  CFileAdmin files;
  EXPECT_FALSE(files.ExistResponseFile("ID1", fldReceived));
  f.folder.Write("Recibidos/ID1.xml", "<r/>");
  os::SetAttributes(f.folder.Path("Recibidos/ID1.xml"), os::kAttrHidden, "t");
  EXPECT_TRUE(files.ExistResponseFile("ID1", fldReceived));
  EXPECT_TRUE(f.LogHas("2024/02/03 09:05:07 CFileAdmin.ExistResponseFile:(2)"));
  EXPECT_FALSE(files.ExistResponseFile("ID1", fldSended));
  EXPECT_FALSE(files.ExistResponseFile("ID1", static_cast<FolderEnum>(9)));
}

TEST(FileAdmin, DeleteAndMoveClearMarksFirstAndTolerateMissingFiles) {
  ContextFixture f;
  CFileAdmin files;
  EXPECT_TRUE(files.DeleteFromReceived("NADA"));
  EXPECT_TRUE(f.LogHas("2024/02/03 09:05:07 CFileAdmin.DeleteFromReceived: Vamos a borrar el fichero de recibidos " +
                       f.folder.Root() + "Recibidos/NADA.xml"));
  f.folder.Write("Enviados/ID2.xml", "<p/>");
  os::SetAttributes(f.folder.Path("Enviados/ID2.xml"), os::kAttrHidden | os::kAttrReadOnly, "t");
  EXPECT_TRUE(files.DeleteFromSended("ID2"));
  EXPECT_FALSE(std::filesystem::exists(f.folder.Path("Enviados/ID2.xml")));
  // A move to Retrasados copies over what is there, then deletes.
  f.folder.Write("Recibidos/ID3.xml", "<late/>");
  os::SetAttributes(f.folder.Path("Recibidos/ID3.xml"), os::kAttrReadOnly, "t");
  f.folder.Write("Retrasados/ID3.xml", "old");
  EXPECT_TRUE(files.MoveToDelayed(f.folder.Path("Recibidos"), "ID3.xml"));
  EXPECT_EQ(f.folder.Read("Retrasados/ID3.xml"), "<late/>");
  EXPECT_FALSE(std::filesystem::exists(f.folder.Path("Recibidos/ID3.xml")));
  EXPECT_FALSE(files.MoveToDelayed(f.folder.Path("Recibidos/"), "NADA.xml"));
  EXPECT_TRUE(f.LogHas("2024/02/03 09:05:07 CFileAdmin.MoveToDelayed:(53)No se encontró el archivo"));
}

TEST(FileAdmin, LogIsTrimmedAtItsLimitInBytes) {
  ContextFixture f;
  CFileAdmin files;
  const std::tuple<int32_t, size_t, bool> cases[] = {{1000, 999, true}, {1000, 1000, false}, {0, 0, false}};
  for (const auto& [limit, size, kept] : cases) {
    core::ThreadContext().Config.TamanioMaximoLog = limit;
    f.folder.Write("velmora.log", std::string(size, 'x'));
    files.DeleteLogFileIfExcededSize();
    EXPECT_EQ(std::filesystem::exists(f.folder.Path("velmora.log")), kept) << size;
    if (!kept) files.DeleteLogFileIfExcededSize();  // nothing to delete is fine
  }
}

}  // namespace
}  // namespace velmora
