#include "velmora/core.h"

#include "core/boundary.h"
#include "core/context.h"
#include "core/layout.h"
#include "errors/catalogue.h"
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
  return core::Method<bool>({.trace = method}, [&] {
    const std::string path = Root() + name;
    if (!os::PathExists(path)) os::MakeDirectory(path, method);
    return true;
  });
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
  return core::Method<bool>({.trace = kMethod, .argument = strIdPrescripcion}, [&] {
    std::string folder;
    switch (ResponseDir) {
      case fldRoot: folder = Root(); break;
      case fldSended: folder = GetSendedPath(); break;
      case fldReceived: folder = GetReceivedPath(); break;
    }
    // Outside 1..3 no path is built, and nothing can be found.
    if (folder.empty()) return false;
    const std::string path = MessageFile(folder, strIdPrescripcion);
    if (!os::PathExists(path)) return false;
    core::LogLine("CFileAdmin.ExistResponseFile:" +
                  errors::Text("log.answer_attributes", {std::to_string(os::GetAttributes(path, kMethod))}));
    return true;
  });
}

bool CFileAdmin::Delete(const char* method, const std::string& path) {
  return core::Method<bool>({.trace = method}, [&] {
    if (os::PathExists(path)) ResetAndDelete(path, method);
    return true;
  });
}

bool CFileAdmin::DeleteFromSended(const std::string& strIdPrescripcion) {
  return Delete("CFileAdmin.DeleteFromSended", MessageFile(GetSendedPath(), strIdPrescripcion));
}

bool CFileAdmin::DeleteFromReceived(const std::string& strIdPrescripcion) {
  const std::string path = MessageFile(GetReceivedPath(), strIdPrescripcion);
  core::LogLine("CFileAdmin.DeleteFromReceived: " + errors::Text("log.deleting_answer", {path}));
  return Delete("CFileAdmin.DeleteFromReceived", path);
}

bool CFileAdmin::MoveToDelayed(const std::string& strFolder, const std::string& strFileTitle) {
  constexpr const char* kMethod = "CFileAdmin.MoveToDelayed";
  return core::Method<bool>({.trace = kMethod, .argument = strFileTitle}, [&] {
    const std::string source = os::WithSlash(strFolder) + strFileTitle;
    // A copy then a delete, never a rename: the two folders may sit on different devices.
    os::CopyFileTo(source, GetDelayedPath() + strFileTitle, kMethod);
    if (os::PathExists(source)) ResetAndDelete(source, kMethod);
    return true;
  });
}

void CFileAdmin::DeleteLogFileIfExcededSize() {
  // Every step may fail on its own without stopping the host: trimming the log is a courtesy.
  core::Quietly([&] {
    const std::string log = LogFilePath();
    const int64_t length = os::FileLength(log);
    if (length < 0) return;
    if (length >= core::ThreadContext().Config.TamanioMaximoLog) {
      core::Quietly([&] { os::SetAttributes(log, os::kAttrArchive, "CFileAdmin.DeleteLogFileIfExcededSize"); });
      os::DeleteFile(log, "CFileAdmin.DeleteLogFileIfExcededSize");
    }
  });
}

}  // namespace velmora
