// fontconfig keeps the parts of its patterns and character sets as offsets from the owning
// object rather than as pointers, so LeakSanitizer finds no pointer to them and reports the
// fonts and configuration it holds for the process as leaked (its configuration parser, expat,
// shows up the same way). Nothing of ours is hidden by this.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
  return "leak:libfontconfig.so\nleak:libexpat.so\n";
}
