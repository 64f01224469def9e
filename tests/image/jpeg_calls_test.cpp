// How the library talks to libjpeg: which calls, in which order, with libjpeg's own settings.

#include "image/jpeg_stage.hpp"

#include <cstdio>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <jpeglib.h>

namespace {

constinit std::vector<std::string> *calls = nullptr;
constinit decltype(jpeg_memory_mgr::alloc_sarray) true_alloc_sarray = nullptr;

template <class Function> Function *true_function(Function *, const char *name) {
  return reinterpret_cast<Function *>(::dlsym(RTLD_NEXT, name));
}

#define TRUE_FUNCTION(name) true_function(&name, #name)

void note(const std::string &call) {
  if (calls != nullptr)
    calls->push_back(call);
}

extern "C" JSAMPARRAY noted_alloc_sarray(j_common_ptr decoder, int pool, JDIMENSION width, JDIMENSION rows) {
  note("alloc_sarray " + std::to_string(pool) + " " + std::to_string(rows));
  return true_alloc_sarray(decoder, pool, width, rows);
}

/// Whether the caller left the settings as jpeg_read_header() made them.
bool has_default_settings(const jpeg_decompress_struct &decoder) {
  return decoder.scale_num == decoder.scale_denom && decoder.output_gamma == 1.0 &&
         decoder.buffered_image == FALSE && decoder.raw_data_out == FALSE &&
         decoder.dct_method == JDCT_DEFAULT && decoder.do_fancy_upsampling == TRUE &&
         decoder.do_block_smoothing == TRUE && decoder.quantize_colors == FALSE;
}

} // namespace

// These functions interpose libjpeg's for the library too.
extern "C" {

jpeg_error_mgr *jpeg_std_error(jpeg_error_mgr *manager) {
  note("jpeg_std_error");
  return TRUE_FUNCTION(jpeg_std_error)(manager);
}

void jpeg_CreateDecompress(j_decompress_ptr decoder, int version, size_t size) {
  note("jpeg_CreateDecompress " + std::to_string(version) + (size == sizeof *decoder ? "" : " another size"));
  TRUE_FUNCTION(jpeg_CreateDecompress)(decoder, version, size);
}

void jpeg_stdio_src(j_decompress_ptr decoder, FILE *file) {
  note("jpeg_stdio_src");
  TRUE_FUNCTION(jpeg_stdio_src)(decoder, file);
}

int jpeg_read_header(j_decompress_ptr decoder, boolean require_image) {
  note(require_image == TRUE ? "jpeg_read_header, an image required" : "jpeg_read_header");
  return TRUE_FUNCTION(jpeg_read_header)(decoder, require_image);
}

boolean jpeg_start_decompress(j_decompress_ptr decoder) {
  note(has_default_settings(*decoder) ? "jpeg_start_decompress" : "jpeg_start_decompress, settings changed");
  const boolean result = TRUE_FUNCTION(jpeg_start_decompress)(decoder);
  true_alloc_sarray = decoder->mem->alloc_sarray;
  decoder->mem->alloc_sarray = noted_alloc_sarray;
  return result;
}

JDIMENSION jpeg_read_scanlines(j_decompress_ptr decoder, JSAMPARRAY rows, JDIMENSION most) {
  note("jpeg_read_scanlines " + std::to_string(most));
  return TRUE_FUNCTION(jpeg_read_scanlines)(decoder, rows, most);
}

boolean jpeg_finish_decompress(j_decompress_ptr decoder) {
  note("jpeg_finish_decompress");
  return TRUE_FUNCTION(jpeg_finish_decompress)(decoder);
}

void jpeg_destroy_decompress(j_decompress_ptr decoder) {
  note("jpeg_destroy_decompress");
  TRUE_FUNCTION(jpeg_destroy_decompress)(decoder);
}

} // extern "C"

namespace dravik::test {
namespace {

class JpegCalls : public jpeg_stage {
protected:
  words calls_;

  int noted_draw() {
    calls = &calls_;
    const int result = checked_draw(0, 0, name_);
    calls = nullptr;
    return result;
  }
};

TEST_F(JpegCalls, DecodeImageInOrder) {
  make(busy_picture(random_, 5, 3));
  EXPECT_EQ(noted_draw(), 0);
  EXPECT_THAT(calls_, testing::ElementsAre("jpeg_std_error", "jpeg_CreateDecompress 62", "jpeg_stdio_src",
                                           "jpeg_read_header, an image required", "jpeg_start_decompress",
                                           "alloc_sarray 1 1", "jpeg_read_scanlines 1",
                                           "jpeg_read_scanlines 1", "jpeg_read_scanlines 1",
                                           "jpeg_finish_decompress", "jpeg_destroy_decompress"));
}

TEST_F(JpegCalls, StaySameOffTheScreen) {
  make(busy_picture(random_, 200, 100));
  EXPECT_EQ(noted_draw(), 0);
  EXPECT_THAT(calls_, testing::Contains("jpeg_read_scanlines 1").Times(100));
  EXPECT_EQ(calls_.at(calls_.size() - 2), "jpeg_finish_decompress");
}

TEST_F(JpegCalls, DestroyDecoderAfterOtherFile) {
  write_file(path_of(name_), {'n', 'o'});
  EXPECT_EQ(noted_draw(), -1);
  EXPECT_THAT(calls_, testing::ElementsAre("jpeg_std_error", "jpeg_CreateDecompress 62", "jpeg_stdio_src",
                                           "jpeg_read_header, an image required", "jpeg_destroy_decompress"));
}

TEST_F(JpegCalls, DoNotStartForMissingFile) {
  EXPECT_EQ(noted_draw(), -1);
  EXPECT_THAT(calls_, testing::IsEmpty());
}

} // namespace
} // namespace dravik::test
