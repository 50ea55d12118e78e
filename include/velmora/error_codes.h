#ifndef VELMORA_ERROR_CODES_H
#define VELMORA_ERROR_CODES_H

/*
 * The numbers an entry of Errores (and velmora::Error::Number) can carry, named for hosts that
 * act on them. Usable from C and C++; a C++ host also has them as velmora::errnum::k... .
 *
 * Two names share 53: the library's "executor.exe is missing" and the old runtime's "file not
 * found" for any other file. The text of an entry tells them apart; the number does not.
 * The font installer's and the SOAP client's numbers are COM HRESULTs, negative as 32-bit ints.
 */

/* The old runtime's numbers, for the platform failures the library meets. */
enum velmora_error_number {
  VELMORA_ERRNUM_INVALID_CALL = 5,           /* argument or procedure call not valid */
  VELMORA_ERRNUM_OVERFLOW = 6,               /* a value beyond its type's range */
  VELMORA_ERRNUM_OUT_OF_MEMORY = 7,
  VELMORA_ERRNUM_SUBSCRIPT_OUT_OF_RANGE = 9, /* an index outside a collection */
  VELMORA_ERRNUM_DIVISION_BY_ZERO = 11,
  VELMORA_ERRNUM_TYPE_MISMATCH = 13,         /* a text that is not the number it should be */
  VELMORA_ERRNUM_FILE_NOT_FOUND = 53,
  VELMORA_ERRNUM_DISK_FULL = 61,
  VELMORA_ERRNUM_PERMISSION_DENIED = 70,     /* also a lock another process holds */
  VELMORA_ERRNUM_PATH_ACCESS = 75,           /* any other failure to reach a file or folder */
  VELMORA_ERRNUM_PATH_NOT_FOUND = 76,
  VELMORA_ERRNUM_DUPLICATE_KEY = 457,        /* a PDF collection already holds the key */
  VELMORA_ERRNUM_INVALID_PICTURE = 481,      /* an image the PDF writer cannot read */

  /* The library's own numbers. */
  VELMORA_ERRNUM_RESPONSE_NOT_FILLED = 32000,      /* the service's answer could not fill the response */
  VELMORA_ERRNUM_INI_UNREADABLE = 32001,           /* velmora.ini could not be read */
  VELMORA_ERRNUM_REQUIRED_FIELDS = 32002,          /* a request misses required fields */
  VELMORA_ERRNUM_REQUEST_XML_INVALID = 32003,      /* the generated SOAP/XML request is ill-formed */
  VELMORA_ERRNUM_INVALID_DATE = 32004,
  VELMORA_ERRNUM_INTERFACE_NOT_ACTIVE = 32005,     /* no configuration, or used from another thread */
  VELMORA_ERRNUM_NO_PRESCRIPTION_ID = 32006,
  VELMORA_ERRNUM_REQUEST_NOT_EXPORTED = 32007,     /* the request file could not be written */
  VELMORA_ERRNUM_DISPENSATION_NOT_EXPORTED = 32008, /* the response file could not be written */
  VELMORA_ERRNUM_XML_NOT_LOADED = 32009,
  VELMORA_ERRNUM_SERVICE_UNREACHABLE = 32010,
  VELMORA_ERRNUM_DEFAULT_FIELD_INVALID = 32011,    /* a bad key name for the default response */
  VELMORA_ERRNUM_INTERNAL_ERRORS = 32012,          /* kept for hosts that test for it; never raised */
  VELMORA_ERRNUM_FORCED_INTERNAL_RESPONSE = 32013, /* the internal response answered */
  VELMORA_ERRNUM_NO_DISPENSATIONS = 32014,         /* an empty batch */
  VELMORA_ERRNUM_EXECUTOR_NOT_FOUND = 53,          /* executor.exe is not in the runtime folder */

  /* The font installer's (0x80040001 ... 0x80040008). */
  VELMORA_ERRNUM_NO_FONTS_FOLDER = -2147221503,       /* 0x80040001 */
  VELMORA_ERRNUM_NO_FONT_FILE_NAME = -2147221501,     /* 0x80040003 */
  VELMORA_ERRNUM_NO_FONT_PATH = -2147221500,          /* 0x80040004 */
  VELMORA_ERRNUM_FONT_FILE_MISSING = -2147221499,     /* 0x80040005 */
  VELMORA_ERRNUM_FONT_NOT_REGISTERED = -2147221498,   /* 0x80040006 */
  VELMORA_ERRNUM_FONT_NOT_UNINSTALLED = -2147221496,  /* 0x80040008 */

  /* Every failure of the SOAP client (0x80004005); the text says which. */
  VELMORA_ERRNUM_SOAP_CLIENT = -2147467259
};

#ifdef __cplusplus
#include <cstdint>

namespace velmora::errnum {

inline constexpr int32_t kInvalidCall = VELMORA_ERRNUM_INVALID_CALL;
inline constexpr int32_t kOverflow = VELMORA_ERRNUM_OVERFLOW;
inline constexpr int32_t kOutOfMemory = VELMORA_ERRNUM_OUT_OF_MEMORY;
inline constexpr int32_t kSubscriptOutOfRange = VELMORA_ERRNUM_SUBSCRIPT_OUT_OF_RANGE;
inline constexpr int32_t kDivisionByZero = VELMORA_ERRNUM_DIVISION_BY_ZERO;
inline constexpr int32_t kTypeMismatch = VELMORA_ERRNUM_TYPE_MISMATCH;
inline constexpr int32_t kFileNotFound = VELMORA_ERRNUM_FILE_NOT_FOUND;
inline constexpr int32_t kDiskFull = VELMORA_ERRNUM_DISK_FULL;
inline constexpr int32_t kPermissionDenied = VELMORA_ERRNUM_PERMISSION_DENIED;
inline constexpr int32_t kPathAccess = VELMORA_ERRNUM_PATH_ACCESS;
inline constexpr int32_t kPathNotFound = VELMORA_ERRNUM_PATH_NOT_FOUND;
inline constexpr int32_t kDuplicateKey = VELMORA_ERRNUM_DUPLICATE_KEY;
inline constexpr int32_t kInvalidPicture = VELMORA_ERRNUM_INVALID_PICTURE;

inline constexpr int32_t kResponseNotFilled = VELMORA_ERRNUM_RESPONSE_NOT_FILLED;
inline constexpr int32_t kIniUnreadable = VELMORA_ERRNUM_INI_UNREADABLE;
inline constexpr int32_t kRequiredFields = VELMORA_ERRNUM_REQUIRED_FIELDS;
inline constexpr int32_t kRequestXmlInvalid = VELMORA_ERRNUM_REQUEST_XML_INVALID;
inline constexpr int32_t kInvalidDate = VELMORA_ERRNUM_INVALID_DATE;
inline constexpr int32_t kInterfaceNotActive = VELMORA_ERRNUM_INTERFACE_NOT_ACTIVE;
inline constexpr int32_t kNoPrescriptionId = VELMORA_ERRNUM_NO_PRESCRIPTION_ID;
inline constexpr int32_t kRequestNotExported = VELMORA_ERRNUM_REQUEST_NOT_EXPORTED;
inline constexpr int32_t kDispensationNotExported = VELMORA_ERRNUM_DISPENSATION_NOT_EXPORTED;
inline constexpr int32_t kXmlNotLoaded = VELMORA_ERRNUM_XML_NOT_LOADED;
inline constexpr int32_t kServiceUnreachable = VELMORA_ERRNUM_SERVICE_UNREACHABLE;
inline constexpr int32_t kDefaultFieldInvalid = VELMORA_ERRNUM_DEFAULT_FIELD_INVALID;
inline constexpr int32_t kInternalErrors = VELMORA_ERRNUM_INTERNAL_ERRORS;
inline constexpr int32_t kForcedInternalResponse = VELMORA_ERRNUM_FORCED_INTERNAL_RESPONSE;
inline constexpr int32_t kNoDispensations = VELMORA_ERRNUM_NO_DISPENSATIONS;
inline constexpr int32_t kExecutorNotFound = VELMORA_ERRNUM_EXECUTOR_NOT_FOUND;

inline constexpr int32_t kNoFontsFolder = VELMORA_ERRNUM_NO_FONTS_FOLDER;
inline constexpr int32_t kNoFontFileName = VELMORA_ERRNUM_NO_FONT_FILE_NAME;
inline constexpr int32_t kNoFontPath = VELMORA_ERRNUM_NO_FONT_PATH;
inline constexpr int32_t kFontFileMissing = VELMORA_ERRNUM_FONT_FILE_MISSING;
inline constexpr int32_t kFontNotRegistered = VELMORA_ERRNUM_FONT_NOT_REGISTERED;
inline constexpr int32_t kFontNotUninstalled = VELMORA_ERRNUM_FONT_NOT_UNINSTALLED;

inline constexpr int32_t kSoapClient = VELMORA_ERRNUM_SOAP_CLIENT;

}  // namespace velmora::errnum
#endif

#endif /* VELMORA_ERROR_CODES_H */
