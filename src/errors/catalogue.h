#pragma once

#include <cstdint>
#include <string_view>

namespace velmora::errors {

struct CatalogueEntry {
  int32_t number;
  std::string_view text;
};

// The library's own errors, in catalogue order. 32012 is kept although nothing raises it, and
// 53 reuses the platform's number for a missing file with the library's own text.
inline constexpr CatalogueEntry kCatalogue[] = {
    {32000, "No se puede pasar los valores del objeto IXMLNodeList al objeto CRespuestaPeticion"},
    {32001, "No se puede leer la información del archivo de inicialización (.ini)"},
    {32002, "Inicialice los campos obligatorios"},
    {32003, "La petición SOAP/XML generada tiene errores"},
    {32004, "La fecha no es válida"},
    {32005,
     "La interfaz Velmora no está activa. Posiblemente no se han cargado los daos del archivo de "
     "inicialización correctamente"},
    {32006, "No se encuentra el identificador de la preescripción"},
    {32007, "No se puede exportar la petición de dispensación"},
    {32008, "No se puede exportar la dispensación"},
    {32009, "No se puede cargar el archivo XML"},
    {32010, "No se puede conectar con el servicio web"},
    {32011,
     "El nombre del campo a buscar en el archivo .ini para generar la respuesta por defecto no es "
     "válido"},
    {32012,
     "Errores internos en la aplicación 'Interface Velmora' impiden la realizar la dispensación. "
     "Consulte el archivo de log para determinar la causa del error"},
    {32013, "Se ha forzado la respuesta interna de 'Interface Velmora' para la dispensación"},
    {32014, "No hay dispensaciones para dispensar"},
    {53, "No se ha encontrado el archivo executor.exe"},
};

// The runtime's texts for the platform failures the library can meet.
inline constexpr CatalogueEntry kPlatformErrors[] = {
    {5, "Argumento o llamada a procedimiento no válida"},
    {6, "Desbordamiento"},
    {7, "Memoria insuficiente"},
    {9, "Subíndice fuera del intervalo"},
    {11, "División por cero"},
    {13, "No coinciden los tipos"},
    {53, "No se encontró el archivo"},
    {61, "Disco lleno"},
    {70, "Permiso denegado"},
    {75, "Error de acceso a la ruta o el archivo"},
    {76, "No se encontró la ruta de acceso"},
};

// The runtime's text of a platform number (53 gives the runtime's "No se encontró el archivo",
// not the library's executor text). Empty when unknown.
constexpr std::string_view PlatformErrorText(int32_t number) {
  for (const auto& e : kPlatformErrors)
    if (e.number == number) return e.text;
  return {};
}

}  // namespace velmora::errors
