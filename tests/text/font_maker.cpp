#include "text/font_maker.hpp"

#include <algorithm>
#include <unistd.h>

namespace dravik::test {
namespace {

/// Numbers as a TrueType file has them, their highest byte first.
class big_endian {
public:
  big_endian &u16(uint32_t value) {
    content_.push_back(static_cast<uint8_t>(value >> 8));
    content_.push_back(static_cast<uint8_t>(value));
    return *this;
  }
  big_endian &u32(uint32_t value) { return u16(value >> 16).u16(value & 0xFFFF); }
  big_endian &i16(int value) { return u16(static_cast<uint32_t>(value) & 0xFFFF); }
  big_endian &zeros(size_t count) {
    content_.resize(content_.size() + count);
    return *this;
  }
  const bytes &content() const { return content_; }

private:
  bytes content_;
};

uint32_t big_u16(const bytes &from, size_t at) {
  return uint32_t{from.at(at)} << 8 | from.at(at + 1);
}
uint32_t big_u32(const bytes &from, size_t at) {
  return big_u16(from, at) << 16 | big_u16(from, at + 2);
}

void put_big_u16(bytes &to, size_t at, uint32_t value) {
  to.at(at) = static_cast<uint8_t>(value >> 8);
  to.at(at + 1) = static_cast<uint8_t>(value);
}

bytes make_outline(const rectangle &filled) {
  const auto [left, bottom, right, top] = filled;
  big_endian glyph;
  glyph.i16(1).i16(left).i16(bottom).i16(right).i16(top); // one contour and its box
  glyph.u16(3).u16(0);                                    // its last point; no instructions
  glyph.u16(0x0101).u16(0x0101);                          // four points on the curve
  glyph.i16(left).i16(0).i16(right - left).i16(0);
  glyph.i16(bottom).i16(top - bottom).i16(0).i16(bottom - top);
  return glyph.content();
}

bytes make_head(uint16_t units_per_em) {
  big_endian head;
  head.u32(0x00010000).u32(0x00010000).u32(0).u32(0x5F0F3CF5).u16(0).u16(units_per_em);
  return head.zeros(16).i16(0).i16(0).i16(1).i16(1).u16(0).u16(1).i16(2).u16(1).u16(0).content(); // long loca
}

bytes make_hhea(size_t glyph_count) {
  big_endian hhea;
  hhea.u32(0x00010000).i16(1).i16(0).i16(0).u16(0xFFFF);
  return hhea.zeros(22).u16(static_cast<uint32_t>(glyph_count)).content();
}

bytes make_maxp(size_t glyph_count) {
  big_endian maxp;
  maxp.u32(0x00010000).u16(static_cast<uint32_t>(glyph_count)).u16(4).u16(1).u16(0).u16(0).u16(2);
  return maxp.zeros(10).u16(1).u16(0).u16(0).content(); // an instruction, so that no shape is adjusted
}

/// Maps `count` characters from `first` on to the glyphs from 1 on.
bytes make_cmap(uint32_t first, uint32_t count) {
  big_endian cmap;
  cmap.u16(0).u16(1).u16(3).u16(1).u32(12);
  cmap.u16(6).u16(10 + 2 * count).u16(0).u16(first).u16(count);
  for (uint32_t i = 0; i < count; ++i)
    cmap.u16(i + 1);
  return cmap.content();
}

} // namespace

font_file::font_file(const bytes &content) {
  static int made = 0;
  path_ = "/tmp/dravik_" + std::to_string(::getpid()) + "_" + std::to_string(made++) + ".font";
  write_file(path_, content);
}

font_file::~font_file() {
  ::unlink(path_.c_str());
}

font_tables take_apart(const bytes &file) {
  font_tables tables;
  for (size_t entry = 12; entry < 12 + 16 * big_u16(file, 4); entry += 16) {
    const auto start = file.begin() + big_u32(file, entry + 8);
    tables[std::string(file.begin() + static_cast<ptrdiff_t>(entry),
                       file.begin() + static_cast<ptrdiff_t>(entry) + 4)] =
        bytes(start, start + big_u32(file, entry + 12));
  }
  return tables;
}

bytes put_together(const font_tables &tables) {
  big_endian directory;
  directory.u32(0x00010000).u16(static_cast<uint32_t>(tables.size())).zeros(6);
  const size_t start = 12 + 16 * tables.size();
  bytes data;
  for (const auto &[tag, table] : tables) {
    directory.u16(static_cast<uint32_t>(tag[0] << 8 | tag[1]))
        .u16(static_cast<uint32_t>(tag[2] << 8 | tag[3]));
    directory.u32(0).u32(static_cast<uint32_t>(start + data.size())).u32(static_cast<uint32_t>(table.size()));
    append(data, table);
    data.resize((data.size() + 3) / 4 * 4);
  }
  bytes file = directory.content();
  append(file, data);
  return file;
}

bytes make_truetype(uint16_t units_per_em, const std::vector<made_glyph> &glyphs, uint16_t space_advance) {
  // glyph 0 represents missing characters; then come the space, 32 characters without ink, and 'A'
  std::vector<made_glyph> all(34, made_glyph{space_advance});
  all.insert(all.end(), glyphs.begin(), glyphs.end());
  big_endian hmtx, loca;
  bytes glyf;
  for (const made_glyph &glyph : all) {
    hmtx.u16(glyph.advance).i16(glyph.filled ? (*glyph.filled)[0] : 0);
    loca.u32(static_cast<uint32_t>(glyf.size()));
    if (glyph.filled)
      append(glyf, make_outline(*glyph.filled));
  }
  loca.u32(static_cast<uint32_t>(glyf.size()));
  return put_together({{"head", make_head(units_per_em)},
                       {"hhea", make_hhea(all.size())},
                       {"maxp", make_maxp(all.size())},
                       {"hmtx", hmtx.content()},
                       {"loca", loca.content()},
                       {"glyf", glyf},
                       {"cmap", make_cmap(' ', static_cast<uint32_t>(all.size() - 1))}});
}

bytes make_excerpt(const bytes &file, uint16_t glyph_count) {
  font_tables tables = take_apart(file);
  const bool is_long = big_u16(tables.at("head"), 50) != 0;
  bytes &loca = tables.at("loca");
  const size_t end =
      is_long ? big_u32(loca, size_t{4} * glyph_count) : 2 * big_u16(loca, size_t{2} * glyph_count);
  tables.at("glyf").resize(end);
  loca.resize((glyph_count + size_t{1}) * (is_long ? 4 : 2));
  put_big_u16(tables.at("maxp"), 4, glyph_count);
  if (big_u16(tables.at("hhea"), 34) > glyph_count)
    put_big_u16(tables.at("hhea"), 34, glyph_count);
  tables.at("hmtx").resize(std::min<size_t>(tables.at("hmtx").size(), size_t{4} * glyph_count));
  tables.at("cmap") = make_cmap('!', glyph_count - 1u);
  for (const char *unused :
       {"GDEF", "GPOS", "GSUB", "FFTM", "name", "post", "kern", "hdmx", "VDMX", "gasp", "LTSH"})
    tables.erase(unused);
  return put_together(tables);
}

std::string make_bdf(int pixels, const std::vector<made_bitmap> &glyphs) {
  const std::string size = std::to_string(pixels);
  std::string font =
      "STARTFONT 2.1\nFONT -made-made-medium-r-normal--" + size + "-" + size +
      "0-72-72-c-80-iso10646-1\nSIZE " + size + " 72 72\nFONTBOUNDINGBOX " + size + " " + size +
      " 0 0\nSTARTPROPERTIES 5\nPIXEL_SIZE " + size + "\nFONT_ASCENT " + size +
      "\nFONT_DESCENT 0\nCHARSET_REGISTRY \"ISO10646\"\nCHARSET_ENCODING \"1\"\nENDPROPERTIES\nCHARS " +
      std::to_string(glyphs.size()) + "\n";
  for (const made_bitmap &glyph : glyphs) {
    const size_t width = glyph.rows.empty() ? 0 : glyph.rows[0].size();
    font += "STARTCHAR made\nENCODING " + std::to_string(static_cast<int>(glyph.unit)) +
            "\nSWIDTH 500 0\nDWIDTH " + std::to_string(glyph.advance) + " 0\nBBX " + std::to_string(width) +
            " " + std::to_string(glyph.rows.size()) + " " + std::to_string(glyph.left) + " " +
            std::to_string(glyph.bottom) + "\nBITMAP\n";
    for (const std::string &row : glyph.rows) {
      for (size_t at = 0; at < (width + 7) / 8 * 8; at += 4) {
        int digit = 0;
        for (size_t bit = 0; bit < 4; ++bit)
          digit = digit * 2 + (at + bit < width && row[at + bit] == '#' ? 1 : 0);
        font += "0123456789ABCDEF"[digit];
      }
      font += '\n';
    }
    font += "ENDCHAR\n";
  }
  return font + "ENDFONT\n";
}

} // namespace dravik::test
