#include "velmora/core.h"

#include "core/context.h"
#include "core/layout.h"
#include "os/attributes.h"
#include "os/files.h"
#include "os/paths.h"

namespace velmora {

namespace {
namespace layout = core::layout;

std::string Root() { return os::RuntimeFolder(); }
std::string Folder(const char* name) { return Root() + name + "/"; }
std::string TitleFile(std::string_view extension) { return Root() + layout::kLibraryTitle + std::string(extension); }
std::string MessageFile(const std::string& folder, const std::string& id) { return folder + layout::MessageFileName(id); }

// Clears read-only and hidden first, so a file the other process marked can still go.
void ResetAndDelete(const std::string& path, const std::string& source) {
  os::SetAttributes(path, os::kAttrArchive, source);
  os::DeleteFile(path, source);
}
}  // namespace

std::string CFileAdmin::DefaultResponseFile() const { return Root() + layout::kDefaultResponseFile; }
std::string CFileAdmin::DefaultResponseArchive() const { return Root() + layout::kDefaultResponseArchive; }
std::string CFileAdmin::InternalResponseFile() const { return Root() + layout::kInternalResponseFile; }
std::string CFileAdmin::GetDllPath() const { return Root(); }
std::string CFileAdmin::GetSendedPath() const { return Folder(layout::kSentFolder); }
std::string CFileAdmin::GetAuditorPath() const { return Folder(layout::kAuditFolder); }
std::string CFileAdmin::GetDelayedPath() const { return Folder(layout::kDelayedFolder); }
std::string CFileAdmin::GetReceivedPath() const { return Folder(layout::kReceivedFolder); }
std::string CFileAdmin::IniFilePath() const { return TitleFile(layout::kIniExtension); }
std::string CFileAdmin::LogFilePath() const { return TitleFile(layout::kLogExtension); }

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

bool CFileAdmin::MakeSended() { return MakeFolder("CFileAdmin.MakeSended", layout::kSentFolder); }
bool CFileAdmin::MakeReceived() { return MakeFolder("CFileAdmin.MakeReceived", layout::kReceivedFolder); }
bool CFileAdmin::MakeDelayed() { return MakeFolder("CFileAdmin.MakeDelayed", layout::kDelayedFolder); }
bool CFileAdmin::MakeAuditor() { return MakeFolder("CFileAdmin.MakeAuditor", layout::kAuditFolder); }

bool CFileAdmin::Exists(const char* method, const std::string& path) {
  core::TraceScope trace(method);
  const bool result = os::PathExists(path);
  trace.Result(result);
  return result;
}

bool CFileAdmin::ExistExecutorFile() { return Exists("CFileAdmin.ExistExecutorFile", Root() + layout::kExecutorProgram); }
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
