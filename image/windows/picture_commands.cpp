#include "image/windows/picture_commands.h"

#include "image/jpeg_file.h"

namespace zr {

bool SaveJPG(Program& program, const platform::Picture& picture, const std::string& name, int quality) {
  const auto written = WriteJpegFile(picture, name, quality);
  if (written) return true;
  const std::string text = written.error().where == kJpegInitStage
                               ? "Failed to initialise the IJL library: " + written.error().message
                               : "Failed to save to JPG";
  program.MessageBox(text, platform::MessageButtons::Ok, platform::MessageIcon::Exclamation);
  return false;
}

bool CopyToClipboard(Program& program, const cDIBSection& dib, bool as_dib) {
  const ClipboardCopy copy = dib.CopyToClipboard(program.services.clipboard, as_dib);
  if (copy == ClipboardCopy::DibFormatRefused)
    program.MessageBox(program.Translate("I don't know how to put a DIB on the clipboard! Copy as bitmap instead!!!"));
  return copy == ClipboardCopy::Copied;
}

}  // namespace zr
