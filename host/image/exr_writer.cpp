#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfIO.h>
#include <OpenEXR/ImfOutputFile.h>
#include <OpenEXR/ImfStandardAttributes.h>
#include <OpenEXR/ImfStringAttribute.h>

#include "image/codecs.h"
#include "image/conversion.h"

namespace quillmere::image {

namespace {

constexpr int kCompressionLevel = 1;

// What fails on the stream shows in its state.
class StreamWriter : public Imf::OStream {
 public:
  explicit StreamWriter(std::FILE* stream) : OStream("picture"), stream_(stream) {}
  void write(const char bytes[], int count) override {
    std::fwrite(bytes, 1, static_cast<std::size_t>(count), stream_);
  }
  std::uint64_t tellp() override { return static_cast<std::uint64_t>(ftello(stream_)); }
  void seekp(std::uint64_t position) override { fseeko(stream_, static_cast<off_t>(position), SEEK_SET); }

 private:
  std::FILE* stream_;
};

}  // namespace

void encodeExr(std::FILE* stream, const Image& picture, const char* colorSpace) {
  if (picture.sample() != Sample::Float) return encodeExr(stream, convert(picture, Sample::Float), colorSpace);
  const int channels = picture.channels();
  const bool color = channels >= 3, alpha = channels % 2 == 0;
  Imf::Header header(picture.width(), picture.height());
  Imf::addChromaticities(header, Imf::Chromaticities());  // those of Rec. 709
  header.insert("colorInteropID", Imf::StringAttribute(colorSpace));
  header.compression() = Imf::ZIP_COMPRESSION;
  header.zipCompressionLevel() = kCompressionLevel;
  Imf::FrameBuffer buffer;
  const auto add = [&](const char* name, int channel) {
    header.channels().insert(name, Imf::Channel(Imf::FLOAT));
    // The library takes the address as writable and only reads there.
    auto* base = reinterpret_cast<char*>(const_cast<float*>(picture.row<float>(0) + channel));
    const std::size_t pixel = static_cast<std::size_t>(channels) * sizeof(float);
    buffer.insert(name, Imf::Slice(Imf::FLOAT, base, pixel, pixel * static_cast<std::size_t>(picture.width())));
  };
  add("R", 0);
  add("G", color ? 1 : 0);
  add("B", color ? 2 : 0);
  if (alpha) add("A", channels - 1);
  StreamWriter writer(stream);
  Imf::OutputFile file(writer, header, 0);
  file.setFrameBuffer(buffer);
  file.writePixels(picture.height());
}

}  // namespace quillmere::image
