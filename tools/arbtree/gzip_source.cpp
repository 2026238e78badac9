#include "gzip_source.h"

#include <libdeflate.h>
#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>
#include <utility>

namespace arbtree::tool {
namespace {

constexpr std::size_t kBlock = 64 * 1024;
constexpr int kGzipWrapper = 16;  // added to the bits of the window: zlib then reads gzip's header and trailer
constexpr std::size_t kTrailer = 8;

// zlib would compute the check sum too, several times slower, so it is told not to; header and trailer are those of
// RFC 1952.
std::uint32_t littleEndian32(const unsigned char* bytes) {
  return bytes[0] | std::uint32_t{bytes[1]} << 8 | std::uint32_t{bytes[2]} << 16 | std::uint32_t{bytes[3]} << 24;
}

class GzipSource final : public ByteSource {
 public:
  GzipSource(ByteSource& source, Budget& budget) : source_(source), budget_(budget) {
    if (inflateInit2(&stream_, MAX_WBITS + kGzipWrapper) != Z_OK) throw std::bad_alloc();
    inflateValidate(&stream_, 0);
  }
  ~GzipSource() override { inflateEnd(&stream_); }

 protected:
  std::optional<std::string_view> pull() override {
    stream_.next_out = reinterpret_cast<Bytef*>(block_);
    stream_.avail_out = kBlock;
    while (stream_.avail_out != 0 && !finished_) {
      const bool goesOn = (stream_.avail_in != 0 || refill()) && unpackOn();
      // What is there is given out before the failure shows, and before more is asked for, so that no more is read than
      // is needed.
      if (stream_.avail_out != kBlock && (!goesOn || stream_.avail_in == 0)) break;
      if (!goesOn) return std::nullopt;
    }
    const std::string_view block(block_, kBlock - stream_.avail_out);
    if (!budget_.spendBytes(block.size())) return fail(budget_.problem());
    return block;
  }

 private:
  // False without input, of which the stream needs more.
  bool refill() {
    if (!pending_.empty()) {
      give();
      return true;
    }
    const auto block = source_.next();
    if (!block) return fail(source_.error()).has_value();
    if (block->empty()) return fail("truncated gzip input").has_value();
    pending_ = *block;
    give();
    return true;
  }
  void give() {
    const std::size_t count = std::min<std::size_t>(pending_.size(), std::numeric_limits<uInt>::max());
    stream_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(pending_.data()));
    stream_.avail_in = static_cast<uInt>(count);
    pending_.remove_prefix(count);
  }

  bool unpackOn() {
    const Bytef* const input = stream_.next_in;
    const Bytef* const output = stream_.next_out;
    const int result = inflate(&stream_, Z_NO_FLUSH);
    if (result == Z_MEM_ERROR) throw std::bad_alloc();
    rememberEnd(input, stream_.next_in);
    const auto count = static_cast<std::size_t>(stream_.next_out - output);
    checkSum_ = libdeflate_crc32(checkSum_, output, count);
    length_ += static_cast<std::uint32_t>(count);
    if (result == Z_STREAM_END)
      return isWhole() ? endMember() : fail("damaged gzip input: wrong check sum").has_value();
    if (result == Z_OK || result == Z_BUF_ERROR) return true;
    return fail(std::string("damaged gzip input: ") + (stream_.msg ? stream_.msg : "it cannot be unpacked"))
        .has_value();
  }

  // The last bytes that have been read, which at the end of a member are its trailer.
  void rememberEnd(const Bytef* begin, const Bytef* end) {
    const std::size_t count = std::min<std::size_t>(static_cast<std::size_t>(end - begin), kTrailer);
    std::copy(trailer_ + count, trailer_ + kTrailer, trailer_);
    std::copy(end - count, end, trailer_ + kTrailer - count);
  }

  // Whether the trailer is that of the member just unpacked, which ends with this.
  bool isWhole() {
    const std::uint32_t checkSum = std::exchange(checkSum_, 0);
    const std::uint32_t length = std::exchange(length_, 0);
    return littleEndian32(trailer_) == checkSum && littleEndian32(trailer_ + 4) == length;
  }

  // Members follow one another, and after the last one there may be zeros, with which tapes are filled up.
  bool endMember() {
    for (;;) {
      if (stream_.avail_in == 0) {
        if (pending_.empty()) {
          const auto block = source_.next();
          if (!block) return fail(source_.error()).has_value();
          if (block->empty()) {
            finished_ = true;
            return true;
          }
          pending_ = *block;
        }
        give();
      }
      if (!inPadding_ && *stream_.next_in != 0) return inflateReset(&stream_) == Z_OK;
      inPadding_ = true;
      if (*stream_.next_in != 0) return fail("there is something behind the end of the gzip input").has_value();
      ++stream_.next_in;
      --stream_.avail_in;
    }
  }

  ByteSource& source_;
  Budget& budget_;
  z_stream stream_ = {};
  std::string_view pending_;    // of the source's block, not given to zlib yet
  std::uint32_t checkSum_ = 0;  // of the member so far
  std::uint32_t length_ = 0;    // modulo 2^32
  unsigned char trailer_[kTrailer] = {};
  bool finished_ = false;
  bool inPadding_ = false;
  char block_[kBlock];
};

}  // namespace

std::unique_ptr<ByteSource> gunzip(ByteSource& source, Budget& budget) {
  return std::make_unique<GzipSource>(source, budget);
}

bool beginsAsGzip(std::string_view beginning) { return beginning.starts_with("\x1f\x8b\x08"); }

}  // namespace arbtree::tool
