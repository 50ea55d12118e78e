#pragma once

#include <cstdint>
#include <string>

#include "velmora/collection.h"
#include "velmora/export.h"

namespace velmora {

// Only the members defined with the receipt (see BarCode128) name these.
class cPDF;
class cFont;

// Code set of a Code 128 symbol.
enum eTipoDeCódigo128 : int16_t { cC128_A = 1, cC128_B = 2, cC128_C = 3 };

// One symbol of the Code 128 table.
class VELMORA_API C128 {
 public:
  std::string Código;   // the character the symbol stands for in the table, or empty
  std::string Patrón;   // module widths, bar first: six digits, seven for the stop symbol
  int16_t Valor = 0;    // 0..106
};

// The 107 symbols, item n being the symbol of value n - 1.
class VELMORA_API colC128 {
 public:
  // Adds a symbol whose `Código` is given; the caller fills in the rest.
  C128& Add(const std::string& Código, const std::string& sKey = "");
  // Raise 9 for a position outside 1..Count() (item 0 included) and 5 for an unknown key.
  C128& Item(int32_t index);
  C128& Item(const std::string& key);
  int32_t Count() const;
  void Remove(int32_t index);
  auto begin() const { return items_.begin(); }
  auto end() const { return items_.end(); }

 private:
  Collection<C128> items_;
};

// The Code 128 encoder: the width pattern that the receipt draws, and the text for a Code 128
// font. The members that take the PDF writer (GenerarBarras, GenerarBarrasImpresora,
// PonerFuente) are defined with the receipt, in src/receipt/generar_barras.cpp: the encoder
// makes modules, and putting them on a page or on paper is the receipt's.
class VELMORA_API BarCode128 {
 public:
  BarCode128();

  // Draws the bars of `Texto` on the open page of `DC` (false when no page is open). X, Y: the
  // top-left corner in points from the page's top-left (-1: 20 pt); Densidad: the module width
  // in thousandths of an inch; Alto: bar height in points (0 or less: 15% of the symbol's width,
  // at least 18 pt); with ImprimirTexto the text goes under the bars in the document's font
  // `fuente` (a registered font name; empty: Helvetica) at size `Tamaño`.
  bool GenerarBarras(const std::string& Texto, cPDF& DC, int16_t Codificación = cC128_B,
                     float X = -1, float Y = -1, float Densidad = 15, float Alto = 0,
                     bool ImprimirTexto = false, const std::string& fuente = "",
                     int16_t Tamaño = 4);
  // The same bar code on a one-page A4 document handed to the print spooler (`lp`); `fuente`
  // names a system face here. It uses the writer's one document, so no other document may be in
  // progress on this thread.
  bool GenerarBarrasImpresora(const std::string& Texto, int16_t Codificación = cC128_B,
                              float X = -1, float Y = -1, float Densidad = 15, float Alto = 0,
                              bool ImprimirTexto = false, const std::string& fuente = "",
                              int16_t Tamaño = 4);

  // The bar pattern: module widths of start, data, check and stop symbols, no separators.
  std::string Barras(const std::string& Texto, int16_t Codificación = cC128_B);
  // Gives the font the barcode font's name as its face.
  bool PonerFuente(cFont& Objeto);
  bool AsignarFuente(const std::string& fuente);
  std::string fuente() const;
  // The text for a Code 128 font: start, data, check and stop characters (UTF-8).
  std::string Texto(const std::string& Frase, int16_t Clase = cC128_A);
  void InicializarTabla();
  colC128& Tabla();

 private:
  std::string fuente_;
  colC128 tabla_;
};

// PDF417 symbols as text for the "Code PDF417" font.
class VELMORA_API cPDF417 {
 public:
  // The symbol of `Texto`: each row as "+" followed by letters "A".."P" of four modules, so the
  // whole text starts with "+" and rows are separated by "+". A text the symbol cannot hold
  // gives a text beginning "Erreur N° " instead, which holds no "+".
  std::string CodigoPDF(const std::string& Texto);

  // Shape of the last symbol made (0 after a failure).
  int32_t Columns() const { return columns_; }
  int32_t Rows() const { return rows_; }

 private:
  int32_t columns_ = 0;
  int32_t rows_ = 0;
};

// Installs a TrueType file into the user's fonts folder ($XDG_DATA_HOME/fonts, else
// ~/.local/share/fonts, the home being $HOME or, when that is unset, the account's home from the
// password database) and registers it with fontconfig.
class VELMORA_API jrInstalarFuente {
 public:
  // Raises 0x80040001 when no fonts folder can be determined.
  jrInstalarFuente();

  std::string DirectorioFuentesSistema() const { return fonts_; }
  std::string PathTTF() const { return path_; }
  // Trimmed, with "/" appended unless it ends in one.
  void PathTTF(const std::string& value);
  std::string FicheroTTF;

  void Instalar();
  void Desinstalar(bool borrar);

 private:
  std::string fonts_;
  std::string path_;
};

}  // namespace velmora
