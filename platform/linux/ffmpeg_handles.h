#pragma once
// Ownership of FFmpeg objects, one unique_ptr type each, and FFmpeg's error texts: shared by
// the movie files, the network streams, the recorder's scaler and the V4L2 conversions.

#include <cstdint>
#include <memory>
#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/error.h>
#include <libavutil/mem.h>
#include <libswscale/swscale.h>
}

namespace zr::platform::linux_impl {

// An output's I/O belongs to whoever made it (the movie's file), which closes it.
struct OutputContextDeleter {
  void operator()(AVFormatContext* context) const { avformat_free_context(context); }
};
struct InputContextDeleter {
  void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
struct CodecContextDeleter {
  void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};
struct FrameDeleter {
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
struct PacketDeleter {
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
struct ScalerDeleter {
  void operator()(SwsContext* scaler) const { sws_freeContext(scaler); }
};
struct BufferDeleter {
  void operator()(std::uint8_t* buffer) const { av_free(buffer); }
};

using OutputContextPtr = std::unique_ptr<AVFormatContext, OutputContextDeleter>;
using InputContextPtr = std::unique_ptr<AVFormatContext, InputContextDeleter>;
using CodecContextPtr = std::unique_ptr<AVCodecContext, CodecContextDeleter>;
using FramePtr = std::unique_ptr<AVFrame, FrameDeleter>;
using PacketPtr = std::unique_ptr<AVPacket, PacketDeleter>;
using ScalerPtr = std::unique_ptr<SwsContext, ScalerDeleter>;
using BufferPtr = std::unique_ptr<std::uint8_t, BufferDeleter>;

inline std::string AvErrorText(int code) {
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(code, text, sizeof text);
  return text;
}

}  // namespace zr::platform::linux_impl
