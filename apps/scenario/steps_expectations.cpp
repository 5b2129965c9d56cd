// Expectations on what the program shows and leaves behind: the properties of its controls,
// its state record, its windows, the settings store, the clipboard, and the files, movies and
// pictures it writes. The families with a subject of their own (dialogs, the device log, the
// FTP server, the picture server) keep their expectations with their other commands.

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <span>
#include <string>
#include <system_error>

#include "apps/scenario/addressing.h"
#include "apps/scenario/comparisons.h"
#include "apps/scenario/procedures.h"
#include "apps/scenario/steps.h"
#include "base/formatting.h"
#include "image/picture_writer.h"
#include "platform/linux/magick_image_converter.h"

namespace zr::scenario {

namespace {

// The comparison with $APP and $TEMP expanded in an expected text.
Comparison ExpandedComparison(const Runner& runner, const Comparison& comparison) {
  Comparison expanded = comparison;
  if (auto* text = std::get_if<std::string>(&expanded.expected)) *text = runner.Expand(*text);
  return expanded;
}

// ---- the program's controls, state and windows

void Do(Runner& runner, const ExpectProperty& expect) {
  const Target target = runner.Locate(expect.target, true);
  const Segment& property = expect.target.path.back();
  const auto actual = ReadProperty(target, property);
  if (!actual)
    Fail("a property of " +
             Describe(expect.target.window, std::span(expect.target.path).first(expect.target.path.size() - 1)),
         Quoted(property.name));
  ExpectValue(*actual, ExpandedComparison(runner, expect.comparison),
              Describe(expect.target.window, expect.target.path));
}

void Do(Runner& runner, const ExpectState& expect) {
  ExpectValue(ReadStateMember(runner.program(), expect.member), ExpandedComparison(runner, expect.comparison), "state");
}

void Do(Runner& runner, const ExpectWindow& expect) {
  auto& slot = FindSlot(runner.program(), expect.window);
  const ui::Window* window =
      expect.window.instance > 0 ? slot.ExtraInstance(expect.window.instance) : slot.LoadedWindow();
  const bool loaded = window != nullptr;
  const bool visible = loaded && window->Visible;
  bool holds = false;
  switch (expect.condition) {
    case WindowCondition::kLoaded:
      holds = loaded;
      break;
    case WindowCondition::kUnloaded:
      holds = !loaded;
      break;
    case WindowCondition::kVisible:
      holds = visible;
      break;
    case WindowCondition::kHidden:
      holds = !visible;
      break;
  }
  if (!holds)
    Fail("window " + expect.window.name + " in another state", loaded ? (visible ? "visible" : "hidden") : "unloaded");
}

// ---- the settings store and the clipboard

void Do(Runner& runner, const ExpectSetting& expect) {
  const auto value = runner.world().settings->Find(expect.app, expect.section, expect.key);
  const std::string what = "setting " + Quoted(expect.app) + " " + Quoted(expect.section) + " " + Quoted(expect.key);
  if (!expect.comparison) {
    if (value) Fail(what + " missing", Quoted(*value));
    return;
  }
  if (!value) Fail(what + " " + ValueText(expect.comparison->expected), "no such setting");
  ExpectValue(ui::Value{*value}, ExpandedComparison(runner, *expect.comparison), what);
}

void Do(Runner& runner, const ExpectClipboard& expect) {
  const bool has = runner.world().clipboard.GetPicture().has_value();
  if (has != (expect.content == ClipboardContent::kPicture))
    Fail(std::string("clipboard ") + (has ? "empty" : "with a picture"), has ? "a picture" : "empty");
}

// ---- files

std::string ReadWholeFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
}

// Bytes as quoted hex digits: "4C495354".
std::string Hex(const std::string& bytes) {
  static const char* const kDigits = "0123456789ABCDEF";
  std::string text;
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    text += kDigits[value >> 4];
    text += kDigits[value & 15];
  }
  return Quoted(text);
}

void Do(Runner& runner, const ExpectFileExists& expect) {
  const bool exists = std::filesystem::exists(runner.PathOf(expect.path));
  if (exists != expect.exists)
    Fail("file " + expect.path + (expect.exists ? " exists" : " missing"), exists ? "it exists" : "no such file");
}

void Do(Runner& runner, const ExpectFileSize& expect) {
  std::error_code error;
  const auto size = std::filesystem::file_size(runner.PathOf(expect.path), error);
  if (error) Fail("file " + expect.path, "no such file");
  if (!CompareNumbers(static_cast<double>(size), expect.size.relation, expect.size.expected))
    Fail("file size " + std::string(RelationText(expect.size.relation)) + " " + NumberText(expect.size.expected),
         std::to_string(size));
}

void Do(Runner& runner, const ExpectFileText& expect) {
  const std::string path = runner.PathOf(expect.path);
  if (!std::filesystem::exists(path)) Fail("file " + expect.path, "no such file");
  const std::string content = ReadWholeFile(path);
  const std::string text = runner.Expand(expect.text);
  const bool found = content.find(text) != std::string::npos;
  if (expect.match == TextMatch::kEquals && content != text) Fail("file text " + Quoted(text), Quoted(content));
  if (expect.match == TextMatch::kContains && !found) Fail("file text containing " + Quoted(text), Quoted(content));
  if (expect.match == TextMatch::kLacks && found) Fail("file text lacking " + Quoted(text), Quoted(content));
}

void Do(Runner& runner, const ExpectFileBytes& expect) {
  const std::string content = ReadWholeFile(runner.PathOf(expect.path));
  const auto offset = static_cast<std::size_t>(expect.offset);
  const std::string actual = offset < content.size() ? content.substr(offset, expect.bytes.size()) : "";
  if (actual != expect.bytes) Fail("bytes " + Hex(expect.bytes) + " at " + std::to_string(offset), Hex(actual));
}

// ---- movies and pictures, read by the program's own readers

void Do(Runner& runner, const ExpectMovie& expect) {
  const auto info = runner.world().movies.ReadInfo(runner.PathOf(expect.path));
  if (!info) Fail("a movie at " + expect.path, info.error().message);
  switch (expect.property) {
    case MovieProperty::kFrames:
      ExpectValue(ui::Value{static_cast<double>(info->frame_count)}, expect.comparison, "movie frames");
      break;
    case MovieProperty::kRate:
      ExpectValue(ui::Value{info->frames_per_second}, expect.comparison, "movie rate");
      break;
    case MovieProperty::kFourcc:
      ExpectValue(ui::Value{info->fourcc}, expect.comparison, "movie fourcc");
      break;
    case MovieProperty::kSize: {
      const auto* size = std::get_if<Size>(&expect.comparison.expected);
      const bool equal = size && size->width == info->width && size->height == info->height;
      if (equal == (expect.comparison.relation == Relation::kNotEqual))
        Fail("movie size " + ValueText(expect.comparison.expected),
             std::to_string(info->width) + "x" + std::to_string(info->height));
      break;
    }
  }
}

// A BMP or JPEG file as the program reads it; any other picture the picture window saves
// (PNG, GIF, TIFF, ...) through the converter.
platform::Picture ReadImage(const Runner& runner, const std::string& path) {
  if (const auto picture = LoadPictureFile(runner.PathOf(path))) return *picture;
  auto read = platform::linux_impl::MagickImageConverter().Read(runner.PathOf(path));
  if (!read) Fail("a picture at " + path, read.error().message);
  return std::move(*read);
}

void Do(Runner& runner, const ExpectImageSize& expect) {
  const auto picture = ReadImage(runner, expect.path);
  if (picture.width != expect.size.width || picture.height != expect.size.height)
    Fail("image size " + ValueText(expect.size), std::to_string(picture.width) + "x" + std::to_string(picture.height));
}

void Do(Runner& runner, const ExpectImagePixel& expect) {
  const auto picture = ReadImage(runner, expect.path);
  if (expect.x < 0 || expect.y < 0 || expect.x >= picture.width || expect.y >= picture.height)
    Fail("a pixel inside the picture", std::to_string(expect.x) + "," + std::to_string(expect.y));
  const std::uint8_t* pixel = picture.PixelFromTop(expect.x, expect.y);
  const int red = pixel[2];
  const int green = pixel[1];
  const int blue = pixel[0];
  const bool near = std::abs(red - expect.colour.red) <= expect.tolerance &&
                    std::abs(green - expect.colour.green) <= expect.tolerance &&
                    std::abs(blue - expect.colour.blue) <= expect.tolerance;
  if (!near)
    Fail("pixel " + ValueText(expect.colour),
         "rgb(" + std::to_string(red) + "," + std::to_string(green) + "," + std::to_string(blue) + ")");
}

}  // namespace

void AddExpectationSteps(StepTable& steps) {
  steps.On<ExpectProperty>(Do);
  steps.On<ExpectState>(Do);
  steps.On<ExpectWindow>(Do);
  steps.On<ExpectSetting>(Do);
  steps.On<ExpectClipboard>(Do);
  steps.On<ExpectFileExists>(Do);
  steps.On<ExpectFileSize>(Do);
  steps.On<ExpectFileText>(Do);
  steps.On<ExpectFileBytes>(Do);
  steps.On<ExpectMovie>(Do);
  steps.On<ExpectImageSize>(Do);
  steps.On<ExpectImagePixel>(Do);
}

}  // namespace zr::scenario
