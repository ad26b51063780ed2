#include "scene/foreign_file.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>

namespace quillmere::scene {
namespace {

using namespace std::string_view_literals;

constexpr const char* kThroughBlender =
    "; only glTF 2.0 is read: import it into a 3D program, Blender for example, and export glTF 2.0 (.glb)";
constexpr const char* kFromMaker =
    "; only glTF 2.0 is read: export it as glTF 2.0 (.glb) from the program that made it";
constexpr const char* kFromBlender =
    "; only glTF 2.0 is read: open it in Blender and use File > Export > glTF 2.0 (.glb/.gltf)";
constexpr const char* kFromCinema = "; only glTF 2.0 is read: open it in Cinema 4D and use File > Export > glTF";
constexpr const char* kNoScene = "; give a glTF 2.0 scene (.gltf, .glb)";

struct Kind {
  const char *name, *remedy;
};
constexpr Kind kFbx{"an FBX file", kThroughBlender}, kUsd{"a USD file", kThroughBlender},
    kBlend{"a Blender file", kFromBlender}, kCinema{"a Cinema 4D file", kFromCinema},
    kAlembic{"an Alembic file", kThroughBlender}, kObj{"a Wavefront OBJ file", kThroughBlender},
    kStl{"an STL file", kThroughBlender}, kPly{"a PLY file", kThroughBlender}, k3ds{"a 3DS file", kThroughBlender},
    kCollada{"a COLLADA file", kThroughBlender}, kX3d{"an X3D file", kThroughBlender}, kMaya{"a Maya file", kFromMaker},
    kMax{"a 3ds Max file", kFromMaker}, kRhino{"a Rhino file", kFromMaker}, kStep{"a STEP file", kFromMaker},
    kPicture{"a picture", kNoScene}, kPage{"a web page", kNoScene}, kArchive{"an archive; unpack it", kNoScene},
    kPointer{"a pointer of Git LFS in the place of a file; fetch it with git lfs pull", kNoScene};

struct Beginning {
  std::string_view bytes;
  Kind kind;
};
constexpr std::array kBeginnings{Beginning{"Kaydara FBX Binary"sv, kFbx},
                                 Beginning{"; FBX "sv, kFbx},
                                 Beginning{"PXR-USDC"sv, kUsd},
                                 Beginning{"#usda "sv, kUsd},
                                 Beginning{"BLENDER"sv, kBlend},
                                 Beginning{"QC4DC4D"sv, kCinema},
                                 Beginning{"Ogawa"sv, kAlembic},
                                 Beginning{"solid "sv, kStl},
                                 Beginning{"ply\n"sv, kPly},
                                 Beginning{"ply\r"sv, kPly},
                                 Beginning{"//Maya ASCII"sv, kMaya},
                                 Beginning{"3D Geometry File Format"sv, kRhino},
                                 Beginning{"ISO-10303-21"sv, kStep},
                                 Beginning{"\x89PNG"sv, kPicture},
                                 Beginning{"\xFF\xD8\xFF"sv, kPicture},
                                 Beginning{"<!doctype html"sv, kPage},
                                 Beginning{"<html"sv, kPage},
                                 Beginning{"version https://git-lfs"sv, kPointer}};

struct Ending {
  std::string_view text;
  Kind kind;
};
constexpr std::array kEndings{Ending{".fbx", kFbx},     Ending{".usd", kUsd},     Ending{".usda", kUsd},
                              Ending{".usdc", kUsd},    Ending{".usdz", kUsd},    Ending{".blend", kBlend},
                              Ending{".c4d", kCinema},  Ending{".abc", kAlembic}, Ending{".obj", kObj},
                              Ending{".stl", kStl},     Ending{".ply", kPly},     Ending{".3ds", k3ds},
                              Ending{".dae", kCollada}, Ending{".x3d", kX3d},     Ending{".ma", kMaya},
                              Ending{".mb", kMaya},     Ending{".max", kMax},     Ending{".3dm", kRhino},
                              Ending{".stp", kStep},    Ending{".step", kStep},   Ending{".zip", kArchive}};

// The start of a text without its byte order mark and blanks.
std::string_view trimmed(std::string_view head) {
  if (head.starts_with("\xEF\xBB\xBF")) head.remove_prefix(3);
  const std::size_t begin = head.find_first_not_of(" \t\r\n");
  return head.substr(std::min(begin, head.size()));
}

std::string lowered(std::string_view text) {
  std::string result(text);
  for (char& letter : result) letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  return result;
}

const Kind* kindOf(std::string_view head, const std::string& ending) {
  for (const auto& [bytes, kind] : kBeginnings) {
    const std::string_view start = trimmed(head);
    if (head.starts_with(bytes) || start.starts_with(bytes) || lowered(start).starts_with(bytes)) return &kind;
  }
  if (head.find("<COLLADA") != std::string_view::npos) return &kCollada;
  for (const auto& [text, kind] : kEndings) {
    if (ending == text) return &kind;
  }
  return head.starts_with("PK\x03\x04"sv) ? &kArchive : nullptr;
}

}  // namespace

std::string foreignFile(std::span<const std::uint8_t> content, const std::filesystem::path& file) {
  constexpr std::size_t kLooked = 1024;  // bytes
  const std::string_view head(reinterpret_cast<const char*>(content.data()), std::min(content.size(), kLooked));
  if (head.starts_with("glTF") || trimmed(head).starts_with('{')) return {};
  const Kind* kind = kindOf(head, lowered(file.extension().string()));
  return kind == nullptr ? "" : std::string("it is ") + kind->name + kind->remedy;
}

}  // namespace quillmere::scene
