#include "velmora/core.h"

#include "core/context.h"
#include "os/attributes.h"
#include "os/files.h"
#include "os/paths.h"

namespace velmora {

namespace {
std::string Root() { return os::RuntimeFolder(); }
std::string MessageFile(const std::string& folder, const std::string& id) { return folder + id + ".xml"; }

// Clears read-only and hidden first, so a file the other process marked can still go.
void ResetAndDelete(const std::string& path, const std::string& source) {
  os::SetAttributes(path, os::kAttrArchive, source);
  os::DeleteFile(path, source);
}
}  // namespace

std::string CFileAdmin::DefaultResponseFile() const { return Root() + "defrespo.xml"; }
std::string CFileAdmin::DefaultResponseArchive() const { return Root() + "defaultResp.xml"; }
std::string CFileAdmin::InternalResponseFile() const { return Root() + "internal.xml"; }
std::string CFileAdmin::GetDllPath() const { return Root(); }
std::string CFileAdmin::GetSendedPath() const { return Root() + "Enviados/"; }
std::string CFileAdmin::GetAuditorPath() const { return Root() + "Auditoria/"; }
std::string CFileAdmin::GetDelayedPath() const { return Root() + "Retrasados/"; }
std::string CFileAdmin::GetReceivedPath() const { return Root() + "Recibidos/"; }
std::string CFileAdmin::IniFilePath() const { return Root() + os::kLibraryTitle + ".ini"; }
std::string CFileAdmin::LogFilePath() const { return Root() + os::kLibraryTitle + ".log"; }

bool CFileAdmin::MakeFolder(const char* method, const char* name) {
  core::TraceScope trace(method);
  bool result = false;
  try {
    const std::string path = Root() + name;
    if (!os::PathExists(path)) os::MakeDirectory(path, method);
    result = true;
  } catch (const std::exception& e) {
    core::HandleError(method, e);
  }
  trace.Result(result);
  return result;
}

bool CFileAdmin::MakeSended() { return MakeFolder("CFileAdmin.MakeSended", "Enviados"); }
bool CFileAdmin::MakeReceived() { return MakeFolder("CFileAdmin.MakeReceived", "Recibidos"); }
bool CFileAdmin::MakeDelayed() { return MakeFolder("CFileAdmin.MakeDelayed", "Retrasados"); }
bool CFileAdmin::MakeAuditor() { return MakeFolder("CFileAdmin.MakeAuditor", "Auditoria"); }

bool CFileAdmin::Exists(const char* method, const std::string& path) {
  core::TraceScope trace(method);
  const bool result = os::PathExists(path);
  trace.Result(result);
  return result;
}

bool CFileAdmin::ExistExecutorFile() { return Exists("CFileAdmin.ExistExecutorFile", Root() + "executor.exe"); }
bool CFileAdmin::ExistIniFile() { return Exists("CFileAdmin.ExistIniFile", IniFilePath()); }
bool CFileAdmin::ExistDefaultResponseFile() {
  return Exists("CFileAdmin.ExistDefaultResponseFile", DefaultResponseFile());
}
bool CFileAdmin::ExistDefaultResponseArchive() {
  return Exists("CFileAdmin.ExistDefaultResponseArchive", DefaultResponseArchive());
}

bool CFileAdmin::ExistResponseFile(const std::string& strIdPrescripcion, FolderEnum ResponseDir) {
  constexpr const char* kMethod = "CFileAdmin.ExistResponseFile";
  core::TraceScope trace(kMethod, strIdPrescripcion);
  bool result = false;
  try {
    std::string folder;
    switch (ResponseDir) {
      case fldRoot: folder = Root(); break;
      case fldSended: folder = GetSendedPath(); break;
      case fldReceived: folder = GetReceivedPath(); break;
    }
    // Outside 1..3 no path is built, and nothing can be found.
    if (!folder.empty()) {
      const std::string path = MessageFile(folder, strIdPrescripcion);
      if (os::PathExists(path)) {
        core::LogLine("CFileAdmin.ExistResponseFile:(" + std::to_string(os::GetAttributes(path, kMethod)) + ")");
        result = true;
      }
    }
  } catch (const std::exception& e) {
    core::HandleError(kMethod, e);
  }
  trace.Result(result);
  return result;
}

bool CFileAdmin::Delete(const char* method, const std::string& path) {
  core::TraceScope trace(method);
  bool result = false;
  try {
    if (os::PathExists(path)) ResetAndDelete(path, method);
    result = true;
  } catch (const std::exception& e) {
    core::HandleError(method, e);
  }
  trace.Result(result);
  return result;
}

bool CFileAdmin::DeleteFromSended(const std::string& strIdPrescripcion) {
  return Delete("CFileAdmin.DeleteFromSended", MessageFile(GetSendedPath(), strIdPrescripcion));
}

bool CFileAdmin::DeleteFromReceived(const std::string& strIdPrescripcion) {
  const std::string path = MessageFile(GetReceivedPath(), strIdPrescripcion);
  core::LogLine("CFileAdmin.DeleteFromReceived: Vamos a borrar el fichero de recibidos " + path);
  return Delete("CFileAdmin.DeleteFromReceived", path);
}

bool CFileAdmin::MoveToDelayed(const std::string& strFolder, const std::string& strFileTitle) {
  constexpr const char* kMethod = "CFileAdmin.MoveToDelayed";
  core::TraceScope trace(kMethod, strFileTitle);
  bool result = false;
  try {
    const std::string source = os::WithSlash(strFolder) + strFileTitle;
    // A copy then a delete, never a rename: the two folders may sit on different devices.
    os::CopyFileTo(source, GetDelayedPath() + strFileTitle, kMethod);
    if (os::PathExists(source)) ResetAndDelete(source, kMethod);
    result = true;
  } catch (const std::exception& e) {
    core::HandleError(kMethod, e);
  }
  trace.Result(result);
  return result;
}

void CFileAdmin::DeleteLogFileIfExcededSize() {
  // Every step may fail on its own without stopping the host: trimming the log is a courtesy.
  try {
    const std::string log = LogFilePath();
    const int64_t length = os::FileLength(log);
    if (length < 0) return;
    if (length >= core::ThreadContext().Config.TamanioMaximoLog) {
      try {
        os::SetAttributes(log, os::kAttrArchive, "CFileAdmin.DeleteLogFileIfExcededSize");
      } catch (const std::exception&) {
      }
      os::DeleteFile(log, "CFileAdmin.DeleteLogFileIfExcededSize");
    }
  } catch (const std::exception&) {
  }
}

}  // namespace velmora
