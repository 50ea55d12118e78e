#pragma once

// The writer's per-thread state and the line-level services every part of the PDF writer uses.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "velmora/pdf.h"

namespace velmora::pdf {

struct WriterState {
  int16_t objectCounter = 0;  // last number handed out
  int32_t offset = 0;         // bytes written so far
  int32_t streamStart = 0;    // where the open page's content began
  cObjetos objects;
  bool memoryMode = false;
  std::vector<uint8_t> memory;  // the document in memory mode
  int fd = -1;                  // the open file in file mode
  std::string path;             // its name, to remove it when creation fails
  bool created = false;         // whether PDFCreate made that file (only then is it removed)
  std::string pending;          // file output not yet handed to the kernel
  int16_t pageWidth = 0;
  int16_t pageHeight = 0;
  uint64_t document = 0;  // which PDFCreate opened the output (see NewDocumentId)
};

// A number no earlier document of the thread had, so a writer can tell its output from a later
// writer's.
uint64_t NewDocumentId();

// The calling thread's state.
WriterState& State();
// Back to the state of a new writer; an output file still open is closed as it stands.
void ResetState();
// Hands buffered file output to the kernel. Raises the platform error of a failed write.
void Flush();
// Flushes and closes the file; nothing in memory mode.
void CloseOutput();
// Flushes what it can and closes a file left unfinished by its writer. Never throws.
void ReleaseOutput() noexcept;
// Closes the file that was being started (PDFCreate's failure path) and removes it when the
// writer created it. Never throws.
void AbandonOutput() noexcept;

// Appends UTF-8 text as Windows-1252 bytes, with one carriage return when appendCR.
void WriteLine(std::string_view text, bool appendCR = true);
// Appends bytes as they are (image data, embedded font files).
void WriteBytes(std::string_view bytes, bool appendCR = false);
// The next object number; 2, 3 and 4 are never handed out. Raises 6 past 32767.
int16_t NextObjectNumber();
// Records `number` at the current offset; called just before "N 0 obj".
void RegisterObject(int16_t number);

// UTF-8 text as Windows-1252 bytes: unmappable characters become "?", and bytes that are not
// valid UTF-8 are taken as Windows-1252 already.
std::string ToCp1252(std::string_view text);
// Each Windows-1252 byte of the UTF-8 text as two upper-case hex digits.
std::string HexString(std::string_view text);
// The same for bytes already in Windows-1252.
std::string HexBytes(std::string_view cp1252);

// Fixed-point formats "0.0", "0.00", "0.0000" with "." whatever the locale; a value that rounds
// to zero is written without a sign.
std::string Fixed(double value, int decimals);
// Shortest decimal that reads back as the same double ("0.5", "1", "1.25").
std::string Shortest(double value);
std::string Int(int64_t value);
// Red, green or blue byte of a 0x00BBGGRR colour (component 0, 1, 2); 0 for any other.
int32_t ColorComponent(int32_t color, int component);
// "r g b" of a colour, each byte / 255 in "0.0".
std::string ColorTriple(int32_t color);
// a - b and a + b in 16 bits; 6 on overflow.
int16_t Sub16(int32_t a, int32_t b, const char* source);
int16_t Add16(int32_t a, int32_t b, const char* source);

// The grey value replacing a pixel under GrayScale (ITU-R BT.601 weights, rounded).
uint8_t Grey(uint8_t r, uint8_t g, uint8_t b);

}  // namespace velmora::pdf
