#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "ini/profile.h"
#include "support/test_support.h"
#include "support/test_processes.h"

namespace velmora {
namespace {

using testing::ChildProcess;
using testing::RuntimeFolder;
using testing::SimulatorProcess;

constexpr int kTills = 4;
constexpr int kPerThread = 20;
constexpr int kRequests = kTills * 2 * kPerThread;

// What each scenario's answer looks like in a till's line (type, done, warnings|rejections).
const std::map<std::string, std::string> kExpected = {
    {"sim:accepted", "1 1 0000|-"},
    {"sim:warnings", "1 1 0000,1201|-"},
    {"sim:rejected", "1 0 -|2001,2002"},
    // Answered after the time-out: the internal response of the ini, then the late file aside.
    {"sim:slow-3", "3 0 9999|-"},
};

TEST(Stress, FourTillsTwoThreadsEachLoseAndMixNothing) {
  SimulatorProcess sim;
  std::string ini = RuntimeFolder::DefaultIni();
  ini.replace(ini.find("http://127.0.0.1:1/dispensacion?wsdl"), 36, sim.WsdlUrl());
  ini.replace(ini.find("PeticionTimeOut=5"), 17, "PeticionTimeOut=2");
  RuntimeFolder folder(ini);
  std::filesystem::create_symlink(VELMORA_EXECUTOR, folder.Path("executor.exe"));

  std::vector<ChildProcess> tills;
  for (int t = 0; t < kTills; ++t)
    tills.emplace_back(std::vector<std::string>{VELMORA_STRESS_TILL, std::to_string(t), std::to_string(kPerThread),
                                                folder.Path("till" + std::to_string(t) + ".txt")});
  for (auto& till : tills) ASSERT_EQ(till.Wait(60000), 0);

  // What the simulator was asked, by prescription id.
  std::map<std::string, std::vector<std::string>> asked;
  auto readRecords = [&] {
    asked.clear();
    for (const auto& record : sim.Records()) {
      const std::string body = SimulatorProcess::Field(record, "body");
      const size_t at = body.find("<idPrescripcion>");
      const size_t end = body.find("</idPrescripcion>", at);
      if (at != std::string::npos && end != std::string::npos)
        asked[body.substr(at + 16, end - at - 16)].push_back(SimulatorProcess::Field(record, "codigoDispensado"));
    }
    return asked.size() == static_cast<size_t>(kRequests);
  };
  ASSERT_TRUE(testing::WaitFor(readRecords, std::chrono::seconds(20))) << asked.size() << " of " << kRequests;

  int answers = 0, late = 0;
  for (int t = 0; t < kTills; ++t) {
    std::ifstream in(folder.Path("till" + std::to_string(t) + ".txt"));
    for (std::string line; std::getline(in, line);) {
      ++answers;
      const std::string id = line.substr(0, line.find(' '));
      const auto a = asked.find(id);
      ASSERT_NE(a, asked.end()) << id;
      ASSERT_EQ(a->second.size(), 1u) << id << " reached the service " << a->second.size() << " times";
      EXPECT_EQ(line.substr(id.size() + 1), kExpected.at(a->second[0])) << id << " asked for " << a->second[0];
      if (a->second[0] == "sim:slow-3") {
        ++late;
        EXPECT_TRUE(testing::WaitFor([&] { return std::filesystem::exists(folder.Path("Retrasados/" + id + ".xml")); },
                                     std::chrono::seconds(20)))
            << id;
      }
      const std::string audit = folder.Path("Auditoria/audit.log");
      EXPECT_NE(ini::ReadProfileString(audit, id, "FECHA_ENVIO"), "") << id;
      for (const char* key : {"PETICION_GENERADA", "MENSAJE_ENVIADO", "MENSAJE_RECIBIDO"})
        EXPECT_EQ(ini::ReadProfileString(audit, id, key), "Si") << id << " " << key;
      EXPECT_EQ(ini::ReadProfileString(audit, id, "RESPUESTA_GENERADA"),
                a->second[0] == "sim:slow-3" ? "int" : "srv")
          << id;
      EXPECT_EQ(ini::ReadProfileString(audit, id, "TEXTO_RESPUESTA", "missing"), "") << id;
    }
  }
  EXPECT_EQ(answers, kRequests);
  EXPECT_GT(late, 0);
  // Every executor, late ones included, has counted its request and its answer.
  const std::string iniPath = folder.Path("velmora.ini");
  EXPECT_EQ(ini::ReadProfileString(iniPath, "MensajeSOAP", "Enviados"), std::to_string(kRequests));
  EXPECT_EQ(ini::ReadProfileString(iniPath, "MensajeSOAP", "Recibidos"), std::to_string(kRequests));
  EXPECT_TRUE(std::filesystem::is_empty(folder.Path("Recibidos")));
}

}  // namespace
}  // namespace velmora
