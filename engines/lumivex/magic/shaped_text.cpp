#include "magic/shaped_text.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_OUTLINE_H
#include <hb-ft.h>
#include <hb.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <system_error>
#include <utility>
#include <vector>

#include "platform/font_files.h"

namespace lumivex {
namespace {

constexpr unsigned kEm = 56;      // pixels
constexpr int kMargin = 8;        // on each side
constexpr int kAboveLine = 60;    // rows from the upper edge to the line on which letters stand
constexpr int kBelowLine = 20;    // from there to the lower edge
constexpr int kMostWidth = 8192;  // pixels: some signs are as wide as a sentence
constexpr hb_codepoint_t kMissing = '?';
constexpr FT_Int32 kLoad = FT_LOAD_NO_HINTING | FT_LOAD_NO_BITMAP;

struct DeleteBuffer {
  void operator()(hb_buffer_t *buffer) const { hb_buffer_destroy(buffer); }
};
using Buffer = std::unique_ptr<hb_buffer_t, DeleteBuffer>;

// A file as FreeType reads it, which by itself opens on Windows only what the code page can name. It is opened by the
// next read, so that none stays open for good. Owns: the open file. Threads: one at a time.
class FontStream {
 public:
  explicit FontStream(std::filesystem::path path) : path_(std::move(path)) {
    std::error_code error;
    const uintmax_t size = std::filesystem::file_size(path_, error);
    if (error) return;
    record_.size = static_cast<unsigned long>(size);
    record_.descriptor.pointer = this;
    record_.read = Read;
  }
  FontStream(const FontStream &) = delete;
  FontStream &operator=(const FontStream &) = delete;

  bool Works() const { return record_.read != nullptr; }
  FT_Stream Record() { return &record_; }
  void Close() { file_.close(); }

 private:
  // Gives how many bytes it has read; where it is asked for none, whether it cannot go to that place.
  static unsigned long Read(FT_Stream record, unsigned long offset, unsigned char *bytes, unsigned long count) {
    if (count == 0) return offset > record->size ? 1 : 0;
    auto &self = *static_cast<FontStream *>(record->descriptor.pointer);
    std::ifstream &file = self.file_;
    if (!file.is_open()) file.open(self.path_, std::ios::binary);
    file.clear();
    file.seekg(static_cast<std::streamoff>(offset));
    file.read(reinterpret_cast<char *>(bytes), static_cast<std::streamsize>(count));
    return static_cast<unsigned long>(file.gcount());
  }

  const std::filesystem::path path_;
  std::ifstream file_;
  FT_StreamRec record_{};
};

// A font file at one size. Owns: the file and both libraries' handles. Threads: one at a time.
class Font {
 public:
  Font(FT_Library library, const std::filesystem::path &file) : stream_(file) {
    if (!stream_.Works()) return;
    FT_Open_Args arguments{};
    arguments.flags = FT_OPEN_STREAM;
    arguments.stream = stream_.Record();
    if (FT_Open_Face(library, &arguments, 0, &face_) != 0) {
      face_ = nullptr;
      return;
    }
    FT_Set_Pixel_Sizes(face_, 0, kEm);
    shaper_ = hb_ft_font_create_referenced(face_);
    hb_ft_font_set_load_flags(shaper_, kLoad);
  }
  ~Font() {
    if (shaper_) hb_font_destroy(shaper_);
    if (face_) FT_Done_Face(face_);
  }
  Font(const Font &) = delete;
  Font &operator=(const Font &) = delete;

  bool Works() const { return shaper_ != nullptr; }
  void CloseFile() { stream_.Close(); }
  bool Has(hb_codepoint_t character) const { return FT_Get_Char_Index(face_, character) != 0; }
  FT_Face Face() const { return face_; }
  hb_font_t *Shaper() const { return shaper_; }

 private:
  FontStream stream_;
  FT_Face face_ = nullptr;
  hb_font_t *shaper_ = nullptr;
};

// Characters of one font and one script.
struct Run {
  const Font *font;
  hb_script_t script;
  unsigned first;  // character
  unsigned count;

  bool LeftToRight() const { return hb_script_get_horizontal_direction(script) != HB_DIRECTION_RTL; }
};

struct Glyph {
  const Font *font;
  hb_codepoint_t index;
  int x;  // of its origin, in 64ths of a pixel from the text's beginning
  int y;  // upwards from the line
};

bool HasScript(hb_script_t script) {
  return script != HB_SCRIPT_COMMON && script != HB_SCRIPT_INHERITED && script != HB_SCRIPT_UNKNOWN;
}

// Joiners, marks and the like belong to what stands before them.
bool Follows(hb_unicode_general_category_t category) {
  return category == HB_UNICODE_GENERAL_CATEGORY_FORMAT || category == HB_UNICODE_GENERAL_CATEGORY_NON_SPACING_MARK ||
         category == HB_UNICODE_GENERAL_CATEGORY_SPACING_MARK || category == HB_UNICODE_GENERAL_CATEGORY_ENCLOSING_MARK;
}

std::vector<hb_codepoint_t> CharactersOf(const std::string &text) {
  const Buffer buffer(hb_buffer_create());
  hb_buffer_add_utf8(buffer.get(), text.data(), static_cast<int>(text.size()), 0, -1);
  unsigned count = 0;
  const hb_glyph_info_t *infos = hb_buffer_get_glyph_infos(buffer.get(), &count);
  std::vector<hb_codepoint_t> characters;
  for (unsigned i = 0; i < count; ++i) characters.push_back(infos[i].codepoint);
  return characters;
}

// Right-to-left runs beside each other change places; where the text begins with one, all the others do.
void PutInOrder(std::vector<Run> &runs) {
  const auto reverse = [&](bool left_to_right) {
    const auto is_other = [=](const Run &run) { return run.LeftToRight() != left_to_right; };
    for (auto begin = runs.begin(); begin != runs.end();) {
      const auto end = std::find_if(begin, runs.end(), is_other);
      std::reverse(begin, end);
      begin = end == runs.end() ? end : end + 1;
    }
  };
  if (runs.empty()) return;
  if (runs.front().LeftToRight()) return reverse(false);
  std::reverse(runs.begin(), runs.end());
  reverse(true);
}

// The fonts that there are. Owns: the library and them. Threads: one at a time.
class Fonts {
 public:
  Fonts() {
    if (FT_Init_FreeType(&library_) != 0) {
      library_ = nullptr;
      return;
    }
    for (const std::filesystem::path &file : FontFiles()) {
      auto font = std::make_unique<Font>(library_, file);
      if (font->Works()) fonts_.push_back(std::move(font));
    }
  }
  ~Fonts() {
    fonts_.clear();
    if (library_) FT_Done_FreeType(library_);
  }
  Fonts(const Fonts &) = delete;
  Fonts &operator=(const Fonts &) = delete;

  cv::Mat Draw(const std::string &text) const {
    if (fonts_.empty()) return {};
    std::vector<hb_codepoint_t> characters = CharactersOf(text);
    std::vector<Run> runs = RunsOf(characters);
    PutInOrder(runs);
    std::vector<Glyph> glyphs;
    int end = 0;
    for (const Run &run : runs) Shape(characters, run, end, glyphs);
    const int width = std::min((end + 63) / 64 + 2 * kMargin, kMostWidth);
    cv::Mat covered(kAboveLine + kBelowLine, width, CV_8U, cv::Scalar(0));
    for (const Glyph &glyph : glyphs) DrawGlyph(glyph, covered);
    for (const auto &font : fonts_) font->CloseFile();
    return covered;
  }

 private:
  // Changes what no font has.
  std::vector<Run> RunsOf(std::vector<hb_codepoint_t> &characters) const {
    hb_unicode_funcs_t *unicode = hb_unicode_funcs_get_default();
    hb_script_t script = HB_SCRIPT_LATIN;
    for (const hb_codepoint_t character : characters) {
      const hb_script_t first = hb_unicode_script(unicode, character);
      if (!HasScript(first)) continue;
      script = first;
      break;
    }
    std::vector<Run> runs;
    for (unsigned i = 0; i < characters.size(); ++i) {
      hb_codepoint_t &character = characters[i];
      const auto category = hb_unicode_general_category(unicode, character);
      const hb_script_t own = hb_unicode_script(unicode, character);
      if (!runs.empty() && Follows(category) &&
          (category == HB_UNICODE_GENERAL_CATEGORY_FORMAT || runs.back().font->Has(character))) {
        ++runs.back().count;
        continue;
      }
      if (HasScript(own)) script = own;
      const Font *font = FontFor(character, !HasScript(own) && !runs.empty() ? runs.back().font : nullptr);
      if (!font) {
        character = kMissing;
        font = fonts_.front().get();
      }
      // Numbers are read from the left in every script.
      const bool number = category == HB_UNICODE_GENERAL_CATEGORY_DECIMAL_NUMBER && !HasScript(own);
      const hb_script_t here = number ? HB_SCRIPT_LATIN : script;
      if (!runs.empty() && runs.back().font == font && runs.back().script == here) {
        ++runs.back().count;
      } else {
        runs.push_back({font, here, i, 1});
      }
    }
    return runs;
  }

  // `preferred`, if any, where it has the character; null where no font has.
  const Font *FontFor(hb_codepoint_t character, const Font *preferred) const {
    if (preferred && preferred->Has(character)) return preferred;
    const auto has = [&](const auto &font) { return font->Has(character); };
    const auto found = std::find_if(fonts_.begin(), fonts_.end(), has);
    return found != fonts_.end() ? found->get() : nullptr;
  }

  static void Shape(const std::vector<hb_codepoint_t> &characters, const Run &run, int &end,
                    std::vector<Glyph> &glyphs) {
    const Buffer buffer(hb_buffer_create());
    hb_buffer_add_codepoints(buffer.get(), characters.data(), static_cast<int>(characters.size()), run.first,
                             static_cast<int>(run.count));
    hb_buffer_set_script(buffer.get(), run.script);
    hb_buffer_set_direction(buffer.get(), run.LeftToRight() ? HB_DIRECTION_LTR : HB_DIRECTION_RTL);
    hb_buffer_guess_segment_properties(buffer.get());
    hb_shape(run.font->Shaper(), buffer.get(), nullptr, 0);
    unsigned count = 0;
    const hb_glyph_info_t *infos = hb_buffer_get_glyph_infos(buffer.get(), &count);
    const hb_glyph_position_t *places = hb_buffer_get_glyph_positions(buffer.get(), &count);
    for (unsigned i = 0; i < count; ++i) {
      glyphs.push_back({run.font, infos[i].codepoint, end + places[i].x_offset, places[i].y_offset});
      end += places[i].x_advance;
    }
  }

  static void DrawGlyph(const Glyph &glyph, cv::Mat &covered) {
    FT_Face face = glyph.font->Face();
    if (FT_Load_Glyph(face, glyph.index, kLoad) != 0) return;
    FT_GlyphSlot slot = face->glyph;
    if (slot->format != FT_GLYPH_FORMAT_OUTLINE) return;
    FT_Outline_Translate(&slot->outline, glyph.x & 63, glyph.y & 63);
    if (FT_Render_Glyph(slot, FT_RENDER_MODE_NORMAL) != 0) return;
    const FT_Bitmap &bitmap = slot->bitmap;
    const cv::Rect place(kMargin + (glyph.x >> 6) + slot->bitmap_left, kAboveLine - (glyph.y >> 6) - slot->bitmap_top,
                         static_cast<int>(bitmap.width), static_cast<int>(bitmap.rows));
    const cv::Rect seen = place & cv::Rect({0, 0}, covered.size());
    if (seen.empty()) return;
    const cv::Mat drawn(place.size(), CV_8U, bitmap.buffer, static_cast<size_t>(bitmap.pitch));
    cv::Mat part = covered(seen);
    cv::max(part, drawn(seen - place.tl()), part);
  }

  FT_Library library_ = nullptr;
  std::vector<std::unique_ptr<Font>> fonts_;
};

}  // namespace

cv::Mat ShapedText(const std::string &text) {
  static std::mutex drawing;
  const std::lock_guard<std::mutex> lock(drawing);
  static const Fonts fonts;
  return fonts.Draw(text);
}

}  // namespace lumivex
