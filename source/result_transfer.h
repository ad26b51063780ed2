#pragma once

#include "c4d.h"

namespace quillmere {

// Writes the result image into the render's RGBA buffer, stretched to the buffer's size and fully opaque, or shows it
// in the picture viewer when there is no buffer, and then empties `resultFile`. An image that can't be loaded leaves
// the buffer as it is. Without a name, or when the file isn't there, nothing happens and the name stays.
void TransferResult(cinema::VideoPostStruct* vps, cinema::Filename& resultFile);

}  // namespace quillmere
