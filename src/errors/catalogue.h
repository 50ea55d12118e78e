#pragma once

#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <string>
#include <string_view>

#include "velmora/error_codes.h"

namespace velmora::errors {

// What an entry is for, which decides who may find it by number.
enum class Kind : uint8_t {
  Library,   // the library's own errors: Raise(number) gives this text
  Platform,  // the old runtime's texts for platform failures
  Raised,    // a number raised with a text of its own (font installer, PDF writer, SOAP client)
  Text,      // a line for the log or the terminal, no error number
};

// A text may hold %1 ... %9, filled by Format in one pass (a value that holds "%1" stays as it is).
struct CatalogueEntry {
  Kind kind;
  std::string_view key;
  int32_t number;
  std::string_view text;
};

// Every text the library (and its command-line host) writes to a log, an Errores entry or a
// terminal, in the order of tests/errors/catalogue.txt, the reviewed copy: installations grep
// their logs for these bytes. Error entries are keyed by their constant's name in
// velmora/error_codes.h. 32012 is kept although nothing raises it, and the executor's 53 reuses
// the platform's number for a missing file with the library's own text.
inline constexpr CatalogueEntry kCatalogue[] = {
    // ---- the library's own errors ----
    {Kind::Library, "RESPONSE_NOT_FILLED", errnum::kResponseNotFilled,
     "No se puede pasar los valores del objeto IXMLNodeList al objeto CRespuestaPeticion"},
    {Kind::Library, "INI_UNREADABLE", errnum::kIniUnreadable,
     "No se puede leer la información del archivo de inicialización (.ini)"},
    {Kind::Library, "REQUIRED_FIELDS", errnum::kRequiredFields, "Inicialice los campos obligatorios"},
    {Kind::Library, "REQUEST_XML_INVALID", errnum::kRequestXmlInvalid, "La petición SOAP/XML generada tiene errores"},
    {Kind::Library, "INVALID_DATE", errnum::kInvalidDate, "La fecha no es válida"},
    {Kind::Library, "INTERFACE_NOT_ACTIVE", errnum::kInterfaceNotActive,
     "La interfaz Velmora no está activa. Posiblemente no se han cargado los daos del archivo de "
     "inicialización correctamente"},
    {Kind::Library, "NO_PRESCRIPTION_ID", errnum::kNoPrescriptionId, "No se encuentra el identificador de la preescripción"},
    {Kind::Library, "REQUEST_NOT_EXPORTED", errnum::kRequestNotExported, "No se puede exportar la petición de dispensación"},
    {Kind::Library, "DISPENSATION_NOT_EXPORTED", errnum::kDispensationNotExported, "No se puede exportar la dispensación"},
    {Kind::Library, "XML_NOT_LOADED", errnum::kXmlNotLoaded, "No se puede cargar el archivo XML"},
    {Kind::Library, "SERVICE_UNREACHABLE", errnum::kServiceUnreachable, "No se puede conectar con el servicio web"},
    {Kind::Library, "DEFAULT_FIELD_INVALID", errnum::kDefaultFieldInvalid,
     "El nombre del campo a buscar en el archivo .ini para generar la respuesta por defecto no es "
     "válido"},
    {Kind::Library, "INTERNAL_ERRORS", errnum::kInternalErrors,
     "Errores internos en la aplicación 'Interface Velmora' impiden la realizar la dispensación. "
     "Consulte el archivo de log para determinar la causa del error"},
    {Kind::Library, "FORCED_INTERNAL_RESPONSE", errnum::kForcedInternalResponse,
     "Se ha forzado la respuesta interna de 'Interface Velmora' para la dispensación"},
    {Kind::Library, "NO_DISPENSATIONS", errnum::kNoDispensations, "No hay dispensaciones para dispensar"},
    {Kind::Library, "EXECUTOR_NOT_FOUND", errnum::kExecutorNotFound, "No se ha encontrado el archivo executor.exe"},
    // An interface used from a thread other than its own: the 32005 text, then why.
    {Kind::Raised, "interface.wrong_thread", errnum::kInterfaceNotActive,
     "%1 (la interfaz se usa desde un hilo distinto del que la creó)"},

    // ---- the runtime's texts for the platform failures the library can meet ----
    {Kind::Platform, "INVALID_CALL", errnum::kInvalidCall, "Argumento o llamada a procedimiento no válida"},
    {Kind::Platform, "OVERFLOW", errnum::kOverflow, "Desbordamiento"},
    {Kind::Platform, "OUT_OF_MEMORY", errnum::kOutOfMemory, "Memoria insuficiente"},
    {Kind::Platform, "SUBSCRIPT_OUT_OF_RANGE", errnum::kSubscriptOutOfRange, "Subíndice fuera del intervalo"},
    {Kind::Platform, "DIVISION_BY_ZERO", errnum::kDivisionByZero, "División por cero"},
    {Kind::Platform, "TYPE_MISMATCH", errnum::kTypeMismatch, "No coinciden los tipos"},
    {Kind::Platform, "FILE_NOT_FOUND", errnum::kFileNotFound, "No se encontró el archivo"},
    {Kind::Platform, "DISK_FULL", errnum::kDiskFull, "Disco lleno"},
    {Kind::Platform, "PERMISSION_DENIED", errnum::kPermissionDenied, "Permiso denegado"},
    {Kind::Platform, "PATH_ACCESS", errnum::kPathAccess, "Error de acceso a la ruta o el archivo"},
    {Kind::Platform, "PATH_NOT_FOUND", errnum::kPathNotFound, "No se encontró la ruta de acceso"},

    // ---- the PDF writer ----
    {Kind::Raised, "DUPLICATE_KEY", errnum::kDuplicateKey, "Esta clave ya está asociada a un elemento de esta colección"},
    {Kind::Raised, "INVALID_PICTURE", errnum::kInvalidPicture, "Imagen no válida"},
    {Kind::Raised, "pdf.picture_too_large", errnum::kInvalidPicture, "Imagen no válida: tiene más de %1 píxeles"},

    // ---- the font installer ----
    {Kind::Raised, "NO_FONTS_FOLDER", errnum::kNoFontsFolder, "No se ha podido determinar el directorio de fuentes del sistema."},
    {Kind::Raised, "NO_FONT_FILE_NAME", errnum::kNoFontFileName,
     "No se ha introducido el nombre del fichero que contiene la fuente."},
    {Kind::Raised, "NO_FONT_PATH", errnum::kNoFontPath, "No se ha introducido el path del fichero que contiene la fuente."},
    {Kind::Raised, "FONT_FILE_MISSING", errnum::kFontFileMissing, "No se ha podido encontrar el fichero %1."},
    {Kind::Raised, "FONT_NOT_REGISTERED", errnum::kFontNotRegistered, "Error ejecutando AddFontResource."},
    {Kind::Raised, "FONT_NOT_UNINSTALLED", errnum::kFontNotUninstalled, "No se ha podido desinstalar la fuente %1"},

    // ---- the SOAP client: one number, the kind of failure first in the text ----
    {Kind::Raised, "SOAP_CLIENT", errnum::kSoapClient, "Error SOAP"},
    {Kind::Raised, "soap.description", errnum::kSoapClient, "Descripción del servicio (WSDL) no válida"},
    {Kind::Raised, "soap.fault", errnum::kSoapClient, "SOAP Fault"},
    {Kind::Raised, "soap.http_status", errnum::kSoapClient, "Error HTTP"},
    {Kind::Raised, "soap.proxy_auth", errnum::kSoapClient, "El proxy rechazó las credenciales (HTTP 407)"},
    {Kind::Raised, "soap.malformed", errnum::kSoapClient, "Respuesta SOAP mal formada"},
    {Kind::Raised, "soap.transport", errnum::kSoapClient, "Error de conexión"},
    {Kind::Raised, "soap.timeout", errnum::kSoapClient, "Tiempo de espera agotado"},
    {Kind::Raised, "soap.usage", errnum::kSoapClient, "Llamada SOAP no válida"},
    {Kind::Raised, "soap.downgrade", errnum::kSoapClient, "Se rechaza pasar de https a http"},
    {Kind::Raised, "soap.client_certificate", errnum::kSoapClient, "Certificado de cliente no válido"},
    {Kind::Text, "soap.certificate.unreadable", 0, "[Proxy] %1: no se puede leer el archivo %2"},
    {Kind::Text, "soap.certificate.not_certificate", 0, "[Proxy] CertFile: %1 no contiene un certificado PEM ni PKCS#12"},
    {Kind::Text, "soap.certificate.password", 0, "[Proxy] KeyPassword no abre %1 (%2)"},
    {Kind::Text, "soap.certificate.no_key", 0, "[Proxy] KeyFile: no hay clave privada en %1"},
    {Kind::Text, "soap.certificate.mismatch", 0, "[Proxy] KeyFile: la clave de %1 no corresponde al certificado de %2"},
    // The details after the kind of failure (description, call, transport, envelope).
    {Kind::Text, "soap.not_a_number", 0, "%1 no es un número: %2"},
    {Kind::Text, "soap.empty_value", 0, "%1 vacío"},
    {Kind::Text, "soap.through_proxy", 0, " (a través del proxy %1:%2)"},
    {Kind::Text, "soap.cannot_read", 0, "no se puede leer %1"},
    {Kind::Text, "soap.description_http", 0, "%1: HTTP %2%3"},
    {Kind::Text, "soap.endpoint_not_https", 0, "%1 indica el punto de acceso %2"},
    {Kind::Text, "soap.unknown_property", 0, "propiedad desconocida '%1'"},
    {Kind::Text, "soap.not_initialised", 0, "el cliente no está inicializado (mssoapinit)"},
    {Kind::Text, "soap.no_operation", 0, "el servicio no tiene la operación '%1'"},
    {Kind::Text, "soap.style_unsupported", 0, "estilo '%1' no admitido"},
    {Kind::Text, "soap.no_input_parts", 0, "la operación no tiene partes de entrada"},
    {Kind::Text, "soap.call_http", 0, "HTTP %1 de %2%3"},
    {Kind::Text, "soap.wsdl.no_message", 0, "no se encuentra el mensaje '%1'"},
    {Kind::Text, "soap.wsdl.not_xml", 0, "el documento no es XML bien formado"},
    {Kind::Text, "soap.wsdl.no_definitions", 0, "falta el elemento wsdl:definitions"},
    {Kind::Text, "soap.wsdl.no_port", 0, "ningún servicio tiene un puerto SOAP 1.1"},
    {Kind::Text, "soap.wsdl.no_location", 0, "soap:address sin location"},
    {Kind::Text, "soap.wsdl.no_binding", 0, "no se encuentra el binding del puerto"},
    {Kind::Text, "soap.wsdl.binding_not_soap", 0, "el binding no es SOAP 1.1"},
    {Kind::Text, "soap.wsdl.no_port_type", 0, "no se encuentra el portType del binding"},
    {Kind::Text, "soap.wsdl.not_in_port_type", 0, "la operación '%1' no está en el portType"},
    {Kind::Text, "soap.wsdl.no_input_message", 0, "la operación '%1' no tiene mensaje de entrada"},
    {Kind::Text, "soap.curl_init", 0, "no se pudo iniciar libcurl"},
    {Kind::Text, "soap.curl_failed", 0, "%1: %2 (curl %3)"},
    {Kind::Text, "soap.redirect_downgrade", 0, "%1 redirige a %2"},
    {Kind::Text, "soap.timed_out", 0, "%1 ms, %2"},
    {Kind::Text, "soap.envelope.too_deep", 0, "anidamiento excesivo"},
    {Kind::Text, "soap.envelope.too_many_references", 0, "demasiados valores referenciados"},
    {Kind::Text, "soap.envelope.external_reference", 0, "referencia externa no admitida: %1"},
    {Kind::Text, "soap.envelope.dangling_reference", 0, "referencia sin destino: %1"},
    {Kind::Text, "soap.envelope.circular_reference", 0, "referencia circular: %1"},
    {Kind::Text, "soap.envelope.too_large", 0, "respuesta demasiado grande"},
    {Kind::Text, "soap.envelope.not_xml", 0, "%1 (posición %2)"},
    {Kind::Text, "soap.envelope.no_body", 0, "no es un sobre SOAP 1.1 con Body"},
    {Kind::Text, "soap.envelope.empty_body", 0, "Body vacío"},

    // ---- the command line (velmora): what it writes to the terminal ----
    {Kind::Text, "cli.usage", 0,
     "usage: velmora status [--json]                 check the runtime folder as an installer would\n"
     "       velmora dispense FILE [--print] [--json]  send the dispensation(s) of a request file\n"
     "       velmora pending [--json]                the dispensations a fallback answered, not yet confirmed\n"
     "       velmora resend ID|--all [--json]        send them again\n"
     "       velmora ack ID                          take note of a late verdict\n"
     "       velmora demo                            one dispensation and a printed batch against velmora-sim\n"
     "       velmora -h | --help | --version\n"
     "\n"
     "--print prints the receipt of a batch (numbered [DispensacionN] sections).\n"
     "The runtime folder is $VELMORA_HOME when set, else the folder of libvelmora.so.\n"
     "\n"
     "exit codes:\n"
     "  0  accepted by the service (a batch: every item); status: every check passed\n"
     "  1  refused by the service (a batch: some or all items); status: a check failed\n"
     "  2  usage: bad command line, unreadable or malformed request file, missing fields; nothing sent\n"
     "  3  answered by a fallback (default file or internal response): to be confirmed\n"
     "  4  failed on its way (DatosValidos false; see Errores in the output)\n"
     "pending, resend: 0 nothing pending, 1 something pending, 2 usage or cannot, 3 a re-send got no answer\n"
     "ack: 0 done, 2 no late verdict to acknowledge\n"},
    {Kind::Text, "cli.version", 0, "velmora %1"},
    {Kind::Text, "cli.failed", 0, "velmora: %1"},
    {Kind::Text, "cli.no_command", 0, "a command is needed"},
    {Kind::Text, "cli.unknown_option", 0, "unknown option %1 for %2"},
    {Kind::Text, "cli.needs_file", 0, "%1 needs a request file"},
    {Kind::Text, "cli.needs_id", 0, "%1 needs an id"},
    {Kind::Text, "cli.unknown_command", 0, "unknown command %1"},
    {Kind::Text, "cli.cannot_read", 0, "velmora: cannot read %1"},
    {Kind::Text, "cli.bad_request_file", 0, "velmora: %1: %2"},
    {Kind::Text, "cli.missing_fields", 0, "velmora: %1: %2 misses or cannot use: %3"},
    {Kind::Text, "cli.print_needs_batch", 0,
     "velmora: --print prints the receipt of a batch; %1 holds a single [Dispensacion]"},
    {Kind::Text, "cli.waiting", 0, "waiting for the answer... %1 s"},
    {Kind::Text, "cli.single", 0, "IDPrescripcion: %1"},
    {Kind::Text, "cli.batch", 0, "batch: %1"},
    {Kind::Text, "cli.accepted", 0, "ACCEPTED"},
    {Kind::Text, "cli.not_accepted", 0, "NOT ACCEPTED"},
    {Kind::Text, "cli.batch_accepted", 0, "BATCH ACCEPTED"},
    {Kind::Text, "cli.batch_not_accepted", 0, "BATCH NOT ACCEPTED WHOLE"},
    {Kind::Text, "cli.datos_validos", 0, "DatosValidos: %1"},
    {Kind::Text, "cli.counts", 0, "NAvisos: %1  NMotivosRechazo: %2"},
    {Kind::Text, "cli.rows", 0, "rows: %1"},
    {Kind::Text, "cli.avisos", 0, "avisos"},
    {Kind::Text, "cli.motivos", 0, "motivos de rechazo"},
    {Kind::Text, "cli.none", 0, "none"},
    {Kind::Text, "cli.executor_failure", 0, "executor.exe: %1"},
    {Kind::Text, "cli.error", 0, "  error %1 (%2): %3"},
    {Kind::Text, "cli.nothing_pending", 0, "nothing pending"},
    {Kind::Text, "cli.executor_running", 0, "  (executor still running)"},
    {Kind::Text, "cli.verdict", 0, "  verdict: %1"},
    {Kind::Text, "cli.no_configuration", 0, "velmora: the configuration did not load (see the log)"},
    {Kind::Text, "cli.no_late_verdict", 0, "velmora: %1 has no late verdict to acknowledge"},
    {Kind::Text, "cli.acknowledged", 0, "%1  confirmed"},
    {Kind::Text, "cli.demo.folder_unusable", 0, "velmora demo: %1 is not a folder of this user's that can be emptied"},
    {Kind::Text, "cli.demo.no_ini", 0, "velmora demo: no velmora.ini to start from (%1)"},
    {Kind::Text, "cli.demo.cannot_link", 0, "velmora demo: cannot link %1executor.exe"},
    {Kind::Text, "cli.demo.no_simulator", 0, "velmora demo: the simulator did not start (%1)"},
    {Kind::Text, "cli.demo.cannot_write", 0, "velmora demo: cannot write %1"},
    {Kind::Text, "cli.demo.started", 0, "runtime folder: %1\nsimulator: %2"},
    {Kind::Text, "cli.demo.single", 0, "== one dispensation =="},
    {Kind::Text, "cli.demo.batch", 0, "== a batch of five, printed =="},
    {Kind::Text, "cli.demo.where", 0, "receipt: %1velmora.pdf\nlog: %1velmora.log\naudit: %1Auditoria/audit.log"},
    {Kind::Text, "cli.status.pass", 0, "PASS  %1: %2"},
    {Kind::Text, "cli.status.fail", 0, "FAIL  %1: %2"},
    {Kind::Text, "cli.status.totals", 0, "sent %1, received %2; log %3 %4"},
    {Kind::Text, "cli.status.log_size", 0, "%1 bytes"},
    {Kind::Text, "cli.status.log_missing", 0, "not written yet"},
    {Kind::Text, "cli.status.all_passed", 0, "all checks passed"},
    {Kind::Text, "cli.status.some_failed", 0, "some checks FAILED"},
    {Kind::Text, "cli.status.not_used", 0, "\"%1\" (not used)"},
    {Kind::Text, "cli.status.unreadable_file", 0, "cannot read the file \"%1\""},
    {Kind::Text, "cli.status.proxy_off", 0, "(not used: UtilizarProxy is off)"},
    {Kind::Text, "cli.status.bad_value", 0, "\"%1\": error %2, %3"},
    {Kind::Text, "cli.status.empty", 0, "(empty)"},
    {Kind::Text, "cli.status.set", 0, "(set)"},
    {Kind::Text, "cli.status.runtime_folder", 0, "runtime folder"},
    {Kind::Text, "cli.status.home_relative", 0,
     "VELMORA_HOME \"%1\" is relative, so the folder depends on where the host starts"},
    {Kind::Text, "cli.status.not_absolute", 0, "not an absolute path (set VELMORA_HOME to one)"},
    {Kind::Text, "cli.status.blank", 0, "holds a blank, and executor.exe's command line is split at blanks"},
    {Kind::Text, "cli.status.not_folder", 0, "not a folder"},
    {Kind::Text, "cli.status.not_writable", 0, "cannot be written"},
    {Kind::Text, "cli.status.executor_missing", 0, "missing (link it from the library's folder)"},
    {Kind::Text, "cli.status.not_executable", 0, "not an executable file"},
    {Kind::Text, "cli.status.folder", 0, "folder %1"},
    {Kind::Text, "cli.status.present", 0, "present"},
    {Kind::Text, "cli.status.folder_missing", 0, "missing (the library makes it on first use)"},
    {Kind::Text, "cli.status.attributes", 0, "hidden mark (extended attributes)"},
    {Kind::Text, "cli.status.no_probe", 0, "cannot make a file to try it on"},
    {Kind::Text, "cli.status.mark_lost", 0, "the mark does not read back"},
    {Kind::Text, "cli.status.no_user_xattr", 0, "%1 (mount it with user extended attributes)"},
    {Kind::Text, "cli.status.service", 0, "service description"},
    {Kind::Text, "cli.status.service_error", 0, "error %1, %2"},
    {Kind::Text, "cli.status.ini_missing", 0, "missing or unreadable"},
    {Kind::Text, "cli.status.warn", 0, "WARN  %1: %2"},
    {Kind::Text, "cli.status.tls", 0, "service TLS"},
    {Kind::Text, "cli.status.tls_detail", 0, "%1, server \"%2\" valid until %3%4"},
    {Kind::Text, "cli.status.tls_client", 0, ", client certificate valid until %1"},
    {Kind::Text, "cli.status.tls_not_https", 0, "not used (%1 is not https)"},
    {Kind::Text, "cli.status.tls_expires", 0, "%1 certificate expires in %2 days"},
    {Kind::Text, "cli.status.tls_expired", 0, "%1 certificate has expired"},
    {Kind::Text, "cli.status.tls_server", 0, "server"},
    {Kind::Text, "cli.status.tls_client_name", 0, "client"},

    // ---- the library's own log: the text after the place it names ("Class.Method:"), which
    // stays in the code that writes the line ----
    {Kind::Text, "log.title.messages", 0, "Log envío/recepción mensajes con SOAP "},
    {Kind::Text, "log.title.trace", 0, "Log de trazas del "},
    {Kind::Text, "log.started", 0, "Iniciando la clase CInterface"},
    {Kind::Text, "log.configuration_loaded", 0, "Se cargó correctamente la configuración del archivo %1"},
    {Kind::Text, "log.property_read", 0, "Recuperado el valor '%1' para la propiedad %2"},
    {Kind::Text, "log.error", 0, "(%1)%2"},
    {Kind::Text, "log.unknown_exception", 0, "unknown exception"},
    {Kind::Text, "log.dispensation_started", 0, "Iniciando una solicitud de dispensación %1"},
    {Kind::Text, "log.audit_folder", 0, "MakeAuditor %1"},
    {Kind::Text, "log.wait.answer_seen", 0,
     "Hemos encontrado el fichero pero esta liberado???? el fichero --> %1 con los atributos %2"},
    {Kind::Text, "log.wait.executor_ended", 0, "executor.exe ha terminado sin dejar respuesta --> %1"},
    {Kind::Text, "log.wait.last_look", 0, "antes del ultimo objFileAdmin.ExistResponseFile --> %1%2"},
    {Kind::Text, "log.wait.look_again", 0, "dentro del if --> %1%2"},
    {Kind::Text, "log.answer_attributes", 0, "(%1)"},
    {Kind::Text, "log.deleting_answer", 0, "Vamos a borrar el fichero de recibidos %1"},
    {Kind::Text, "log.answer_recovered", 0, "respuesta recuperada de una escritura interrumpida --> %1"},
    {Kind::Text, "log.pending.confirmed", 0, "Confirmada la dispensación %1"},
    {Kind::Text, "log.pending.resending", 0, "Reenviando la dispensación %1"},
    {Kind::Text, "log.pending.no_answer", 0, "Sin respuesta del servicio para %1"},
    {Kind::Text, "log.executor.started", 0, "Iniciando la solicitud de dispensación "},
    {Kind::Text, "log.executor.sended_path", 0, "SendedPath : %1"},
    {Kind::Text, "log.executor.id", 0, "strIdPrescripcion : %1"},
    {Kind::Text, "log.executor.sending", 0, "Enviando mensaje SOAP 'PeticionDispensacion' "},
    {Kind::Text, "log.executor.receiving", 0, "Recibiendo mensaje SOAP 'RespuestaPeticion' "},
    {Kind::Text, "log.executor.before_write", 0, "Antes de escribir en el fichero"},
    {Kind::Text, "log.executor.after_write", 0, "DESPUES de escribir en el fichero"},
    {Kind::Text, "log.executor.hiding", 0, "Antes de poner la propiedad a hidden"},
    // After "CExecutor.Fallo:" in the log, and the whole of the failure hand-over.
    {Kind::Text, "log.executor.failure", 0, "(%1) %2"},
    {Kind::Text, "log.connect.already", 0, "El servicio ya está conectado"},
    {Kind::Text, "log.connect.connecting", 0, "Conectando con el servicio web"},
    {Kind::Text, "log.parsing_dates", 0, "Parseando las fechas"},
    {Kind::Text, "log.building_xml", 0, "Generando objeto IXMLNodeList con las propiedades de la clase"},
    {Kind::Text, "log.building_request_xml", 0, "Generando archivo XML con la petición de la dispensación"},
    {Kind::Text, "log.loading_from_xml", 0, "Cargando propiedades de clase a partir de un objeto NodeList"},
    {Kind::Text, "log.checking_required_fields", 0, "Comprobando que todos los campos requeridos se han establecido"},
    {Kind::Text, "log.no_required_fields", 0, "Una respuesta no tiene campos obligatorios"},
    {Kind::Text, "log.writing_request", 0, "Generando archivo %1 con la petición de la dispensación"},
    {Kind::Text, "log.writing_response", 0, "Generando archivo %1 con la respuesta de la dispensación"},
    {Kind::Text, "log.batch.adding", 0, "INICIO1. intItems : %1 y %2"},
    {Kind::Text, "log.batch.added", 0, "FIN. añadido : %1"},
    {Kind::Text, "log.batch_answer.node", 0, "nombre del nodo : %1 de i = %2"},
    {Kind::Text, "log.batch_answer.accepted", 0, "CORRECTOOOOOOOOOOOO "},
    {Kind::Text, "log.batch_answer.refused", 0, "errrorrrr "},
    {Kind::Text, "log.batch_answer.row", 0, "en el for  yy "},
    {Kind::Text, "log.row.start", 0, "inicio %1"},
    {Kind::Text, "log.row.field", 0, "objetos %1 --> %2"},

    // ---- executor.exe, started by hand: what it writes to the terminal ----
    {Kind::Text, "executor.usage", 0,
     "usage: executor.exe IDPres=<id> [MD]\n"
     "Started by libvelmora for each dispensation (MD: a batch); it sends the request file\n"
     "Enviados/<id>.xml of the runtime folder ($VELMORA_HOME, else the library's folder) and\n"
     "leaves the answer in Recibidos/. Exit status 0 when the answer was written.\n"},
    {Kind::Text, "executor.version", 0, "executor.exe %1"},
};

// The entry of `key`, or null.
constexpr const CatalogueEntry* Find(std::string_view key) {
  for (const auto& e : kCatalogue)
    if (e.key == key) return &e;
  return nullptr;
}

// The first entry of `kind` that carries `number`, or null.
constexpr const CatalogueEntry* Find(Kind kind, int32_t number) {
  for (const auto& e : kCatalogue)
    if (e.kind == kind && e.number == number) return &e;
  return nullptr;
}

// The runtime's text of a platform number (53 gives the runtime's "No se encontró el archivo",
// not the library's executor text). Empty when unknown.
constexpr std::string_view PlatformErrorText(int32_t number) {
  const CatalogueEntry* e = Find(Kind::Platform, number);
  return e ? e->text : std::string_view();
}

// The position of `key` in the table; its size when the key is not there. By index, with no
// reference or pointer compared: under UBSan, GCC 12 cannot fold the null checks it adds to
// those inside a constant evaluation.
constexpr size_t IndexOf(std::string_view key) {
  for (size_t i = 0; i < std::size(kCatalogue); ++i)
    if (kCatalogue[i].key == key) return i;
  return std::size(kCatalogue);
}

consteval size_t KnownIndex(std::string_view key) {
  const size_t at = IndexOf(key);
  if (at == std::size(kCatalogue)) throw "not a key of the catalogue";
  return at;
}

// A key checked against the table when the program is compiled: a mistyped key does not build.
struct Key {
  consteval Key(const char* name) : entry(&kCatalogue[KnownIndex(name)]) {}  // NOLINT: implicit on purpose
  const CatalogueEntry* entry;
};

// `text` with %1 ... %9 replaced by `args`, in one pass.
std::string Format(std::string_view text, std::initializer_list<std::string_view> args);

// The text of `key`, filled with `args`.
inline std::string Text(Key key, std::initializer_list<std::string_view> args = {}) {
  return Format(key.entry->text, args);
}

}  // namespace velmora::errors
