#include <sys/stat.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <tuple>

#include "support/context_fixture.h"
#include "ini/profile.h"

namespace velmora {
namespace {

using testing::ContextFixture;

TEST(Auditor, HeaderThenMarksBuildOneRecord) {
  ContextFixture f;
  CAuditor auditor;
  auditor.Enable(true);
  EXPECT_EQ(auditor.OutputFileName(), f.folder.Root() + "Auditoria/audit.log");
  for (const int32_t action : {audHeader, audMarkPetitionDone, audMarkMsgSended}) EXPECT_TRUE(auditor.Save("ID1", action));
  EXPECT_TRUE(auditor.Save("ID1", audSetTextResponse, rcvNone, "texto"));
  EXPECT_TRUE(auditor.Save("ID1", 6));  // unknown action: nothing written
  EXPECT_EQ(f.folder.Read("Auditoria/audit.log"),
            "[ID1]\r\nFECHA_ENVIO=24/02/03 09:05:07\r\nPETICION_GENERADA=Si\r\nMENSAJE_ENVIADO=Si\r\n"
            "MENSAJE_RECIBIDO=No\r\nRESPUESTA_GENERADA=\r\nTEXTO_RESPUESTA=texto\r\n");
  EXPECT_FALSE(auditor.StoreInDelayed("ID1"));
  EXPECT_FALSE(auditor.StoreInDelayed("NUNCA"));
  // Late once the till was given another answer; "srv" is the executor's own file, taken.
  const std::tuple<int32_t, const char*, bool> kinds[] = {{rcvService, "srv", false}, {rcvXML, "xml", true},
                                                          {rcvIni, "ini", true},       {rcvInternal, "int", true},
                                                          {rcvNone, "", false},        {7, "", false}};
  for (const auto& [kind, text, late] : kinds) {
    ASSERT_TRUE(auditor.Save("ID1", audSetResponse, kind));
    EXPECT_EQ(ini::ReadProfileString(auditor.OutputFileName(), "ID1", "RESPUESTA_GENERADA", "D"), text);
    EXPECT_EQ(auditor.StoreInDelayed("ID1"), late) << text;
  }
  // A second header overwrites the whole record.
  EXPECT_TRUE(auditor.Save("ID1", audHeader));
  EXPECT_EQ(ini::ReadProfileString(auditor.OutputFileName(), "ID1", "PETICION_GENERADA"), "No");
}

TEST(Auditor, DailyRecordStaysInTheFileOfItsHeaderAcrossMidnight) {
  ContextFixture f;
  CAuditor auditor;
  auditor.Enable(true);
  auditor.DiaryStore(true);
  f.clock.Set({2024, 2, 4, 0, 0, 5});
  EXPECT_TRUE(auditor.Save("ID1", audHeader));
  EXPECT_EQ(auditor.OutputFileName(), f.folder.Root() + "Auditoria/240203.log");
  EXPECT_EQ(ini::ReadProfileString(f.folder.Path("Auditoria/240203.log"), "ID1", "FECHA_ENVIO"), "00:00:05");
  // The executor of that dispensation starts on the new day, and still finds the record.
  CAuditor executor;
  executor.Enable(true);
  executor.DiaryStore(true);
  EXPECT_TRUE(executor.Save("id1", audMarkMsgSended));
  EXPECT_TRUE(auditor.Save("ID1", audSetResponse, rcvInternal));
  EXPECT_TRUE(executor.StoreInDelayed("ID1"));
  EXPECT_EQ(ini::ReadProfileString(f.folder.Path("Auditoria/240203.log"), "ID1", "MENSAJE_ENVIADO"), "Si");
}

TEST(Auditor, EmptyIdentifierIsLoggedUnderSave) {
  ContextFixture f;
  CAuditor auditor;
  auditor.Enable(true);
  EXPECT_FALSE(auditor.Save("", audHeader));
  EXPECT_FALSE(auditor.StoreInDelayed(""));
  for (const std::string method : {"Save", "StoreInDelayed"})
    EXPECT_TRUE(f.LogHas("2024/02/03 09:05:07 CAuditor." + method + ":(32006)No se encuentra el identificador de la preescripción"));
  const auto& errors = core::ThreadContext().Errors.Errores();
  ASSERT_EQ(errors.Count(), 2u);
  EXPECT_EQ(errors.Item(2)->Source, "CAuditor.Save");
}

TEST(Auditor, DisabledOrWithoutFolderWritesNothingSilentlyAFifoIsLogged) {
  ContextFixture f;
  std::filesystem::remove(f.folder.Path("Auditoria"));
  CAuditor auditor;
  EXPECT_TRUE(auditor.Save("", audHeader));  // disabled: not even the identifier is checked
  auditor.Enable(true);
  EXPECT_TRUE(auditor.Save("ID1", audHeader));
  EXPECT_FALSE(std::filesystem::exists(f.folder.Path("Auditoria")));
  std::filesystem::create_directory(f.folder.Path("Auditoria"));
  ASSERT_EQ(mkfifo(f.folder.Path("Auditoria/audit.log").c_str(), 0600), 0);
  EXPECT_FALSE(auditor.Save("ID1", audHeader));
  EXPECT_FALSE(auditor.StoreInDelayed("ID1"));
  EXPECT_TRUE(f.LogHas("2024/02/03 09:05:07 CAuditor.Save:(75)Error de acceso a la ruta o el archivo")) << f.Log();
}

}  // namespace
}  // namespace velmora
