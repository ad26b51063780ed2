#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfIO.h>
#include <OpenEXR/ImfOutputFile.h>
#include <OpenEXR/ImfStandardAttributes.h>
#include <OpenEXR/ImfStringAttribute.h>

#include <algorithm>

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

// A header for values of Rec. 709 primaries.
Imf::Header headerFor(const Image& picture, const char* colorSpace) {
  Imf::Header header(picture.width(), picture.height());
  Imf::addChromaticities(header, Imf::Chromaticities());  // those of Rec. 709
  header.insert("colorInteropID", Imf::StringAttribute(colorSpace));
  header.compression() = Imf::ZIP_COMPRESSION;
  header.zipCompressionLevel() = kCompressionLevel;
  return header;
}

void addChannel(const char* name, const Image& plane, int channel, Imf::Header& header, Imf::FrameBuffer& buffer) {
  header.channels().insert(name, Imf::Channel(Imf::FLOAT));
  // The library takes the address as writable and only reads there.
  auto* base = reinterpret_cast<char*>(const_cast<float*>(plane.row<float>(0) + channel));
  const std::size_t pixel = static_cast<std::size_t>(plane.channels()) * sizeof(float);
  buffer.insert(name, Imf::Slice(Imf::FLOAT, base, pixel, pixel * static_cast<std::size_t>(plane.width())));
}

void writeOut(std::FILE* stream, const Imf::Header& header, const Imf::FrameBuffer& buffer) {
  StreamWriter writer(stream);
  Imf::OutputFile file(writer, header, 0);
  file.setFrameBuffer(buffer);
  file.writePixels(header.dataWindow().max.y + 1);
}

Imath::M44f matrixOf(const std::array<float, 16>& rows) {
  Imath::M44f matrix;
  std::copy(rows.begin(), rows.end(), matrix.getValue());
  return matrix;
}

}  // namespace

void encodeExr(std::FILE* stream, const Image& picture, const char* colorSpace) {
  if (picture.sample() != Sample::Float) return encodeExr(stream, convert(picture, Sample::Float), colorSpace);
  const int channels = picture.channels();
  const bool color = channels >= 3, alpha = channels % 2 == 0;
  Imf::Header header = headerFor(picture, colorSpace);
  Imf::FrameBuffer buffer;
  addChannel("R", picture, 0, header, buffer);
  addChannel("G", picture, color ? 1 : 0, header, buffer);
  addChannel("B", picture, color ? 2 : 0, header, buffer);
  if (alpha) addChannel("A", picture, channels - 1, header, buffer);
  writeOut(stream, header, buffer);
}

void encodeLayers(std::FILE* stream, const ExrLayers& layers, const char* colorSpace) {
  Imf::Header header = headerFor(*layers.channels.front().plane, colorSpace);
  header.screenWindowWidth() = layers.view.width;
  Imf::addWorldToCamera(header, matrixOf(layers.view.worldToCamera));
  Imf::addWorldToNDC(header, matrixOf(layers.view.worldToPicture));
  for (const auto& [key, text] : layers.texts) header.insert(key, Imf::StringAttribute(text));
  Imf::FrameBuffer buffer;
  for (const ExrLayers::Channel& channel : layers.channels) {
    addChannel(channel.name.c_str(), *channel.plane, channel.index, header, buffer);
  }
  writeOut(stream, header, buffer);
}

}  // namespace quillmere::image
