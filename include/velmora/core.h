#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "velmora/collection.h"
#include "velmora/error.h"
#include "velmora/export.h"

namespace velmora {

enum LogFlagsEnum : int32_t { lfgToFile = 1, lfgToDebug = 2 };
enum FolderEnum : int32_t { fldRoot = 1, fldSended = 2, fldReceived = 3 };
enum AuditTypeEnum : int32_t {
  audHeader = 0,
  audMarkPetitionDone = 1,
  audMarkMsgSended = 2,
  audMarkMsgReceived = 3,
  audSetResponse = 4,
  audSetTextResponse = 5,
};
enum ReceivedTypeEnum : int32_t {
  rcvNone = -1,
  rcvService = 0,
  rcvXML = 1,
  rcvIni = 2,
  rcvInternal = 3,
};
enum BoolTypeEnum : int32_t { blUnselected = -1, blnNo = 0, blnYes = 1 };

// One recorded error.
class VELMORA_API CErrorItem {
 public:
  int32_t Number = 0;
  std::string Description;
  std::string HelpContext;
  std::string HelpFile;
  std::string Source;
};

// The error collection: the shared one of each thread, and the `Errores` copies the entry
// classes hand to the host.
class VELMORA_API CError {
 public:
  Collection<CErrorItem>& Errores();
  const Collection<CErrorItem>& Errores() const;

  // Records the error being handled (the runtime's current error object).
  void AddError(const Error& objError);
  void AddError2(const CErrorItem& objError);

  // Leaves the newest item in place on purpose: callers read "the last error" after a reset.
  void ResetErrorsCollection();

 private:
  Collection<CErrorItem> items_;
  std::vector<CErrorItem> slots_{1};
};

// Log and trace writer: one line per call, the file opened, appended and closed each time
// because the executor processes append to the same file.
class VELMORA_API CLog {
 public:
  std::string FileName;
  int32_t Flags = 0;
  std::string Title;

  void Writeln(std::string_view strData, bool blnAddDate = false);
  void WriteTrace(bool blnIsIn, std::string_view strMethod, std::string_view strMoreData = {},
                  bool blnAddDate = false);
};

// The ini file's values. LoadIni stores what it reads straight into the members; only the two
// clamping setters apply their rules.
class VELMORA_API CConfig {
 public:
  std::string IniFile;

  std::string Servicio;
  int16_t GuardarPeticionSOAP = 0;
  int16_t GenerarLog = 0;
  int16_t GenerarTrace = 0;
  int16_t AutoRespuesta = 0;
  int16_t EliminarXMLPeticion = 0;
  int16_t EliminarXMLRespuesta = 0;
  int16_t ArchivoDiario = 0;
  bool Auditar = false;
  int32_t TamanioMaximoLog = 0;

  int16_t PeticionTimeOut() const { return peticionTimeOut_; }
  void PeticionTimeOut(int16_t value);
  int16_t IntervaloComprobacion() const { return intervaloComprobacion_; }
  void IntervaloComprobacion(int16_t value);
  const std::string& EsquemaXML() const { return esquemaXML_; }
  const std::string& CodigoDispensacionOk() const { return codigoDispensacionOk_; }

  bool LoadIni();
  bool UpdateAndSaveSended();
  bool UpdateAndSaveReceived();
  std::string LoadInternalResponse(const std::string& strFieldName);

 private:
  bool UpdateCounter(const char* method, const char* key);

  int16_t peticionTimeOut_ = 0;
  int16_t intervaloComprobacion_ = 0;
  std::string esquemaXML_;
  std::string codigoDispensacionOk_;
};

// The default namespace declarations of the message bodies.
VELMORA_API extern const char* const kDefaultEsquemaXML;

// The library's only road to the ini file: a 255-character buffer, so values come back cut to
// 254 characters.
VELMORA_API std::string GetPrivateProfileStringEx(const std::string& strFile, const std::string& strSection,
                                                  const std::string& strKey);

// Writes one key of an ini file the way the library does (in place, atomically, under a lock).
// For hosts and tools that adjust velmora.ini; false when the file cannot be written.
VELMORA_API bool WritePrivateProfileStringEx(const std::string& strFile, const std::string& strSection,
                                             const std::string& strKey, const std::string& strValue);

// The working folders beside the library and the message files in them. Paths end in "/".
class VELMORA_API CFileAdmin {
 public:
  std::string DefaultResponseFile() const;
  std::string DefaultResponseArchive() const;
  std::string InternalResponseFile() const;
  std::string GetDllPath() const;
  std::string GetSendedPath() const;
  std::string GetAuditorPath() const;
  std::string GetDelayedPath() const;
  std::string GetReceivedPath() const;
  std::string IniFilePath() const;
  std::string LogFilePath() const;

  bool MakeSended();
  bool MakeReceived();
  bool MakeDelayed();
  bool MakeAuditor();
  bool ExistExecutorFile();
  bool ExistIniFile();
  bool ExistDefaultResponseFile();
  bool ExistDefaultResponseArchive();
  bool ExistResponseFile(const std::string& strIdPrescripcion, FolderEnum ResponseDir = fldReceived);
  bool DeleteFromSended(const std::string& strIdPrescripcion);
  bool DeleteFromReceived(const std::string& strIdPrescripcion);
  bool MoveToDelayed(const std::string& strFolder, const std::string& strFileTitle);
  void DeleteLogFileIfExcededSize();

 private:
  bool MakeFolder(const char* method, const char* name);
  bool Exists(const char* method, const std::string& path);
  bool Delete(const char* method, const std::string& path);
};

// The audit trail: one ini-format section per prescription identifier.
class VELMORA_API CAuditor {
 public:
  CAuditor();  // takes the date of the daily file now, once

  bool Enable() const { return enable_; }
  void Enable(bool value) { enable_ = value; }
  bool DiaryStore() const { return diaryStore_; }
  void DiaryStore(bool value) { diaryStore_ = value; }
  std::string OutputFileName() const { return diaryStore_ ? dailyPath_ : singlePath_; }

  bool Save(const std::string& strIdPrescripcion, int32_t intAction, int32_t intResponse = rcvNone,
            const std::string& strTextResponse = {});
  bool StoreInDelayed(const std::string& strIdPrescripcion);

  // The file that holds the record of `id` (with daily files, the one its header went into),
  // else OutputFileName(). A failed look raises with `method`.
  std::string RecordFile(const std::string& id, const char* method) const;

 private:

  bool enable_ = false;
  bool diaryStore_ = false;
  std::string dailyPath_;
  std::string singlePath_;
};

}  // namespace velmora
