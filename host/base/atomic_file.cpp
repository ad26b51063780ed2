#include "base/atomic_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <system_error>

#include "base/error.h"

namespace quillmere {

namespace fs = std::filesystem;

namespace {

fs::path hiddenNameBeside(const fs::path& target) {
  static std::atomic<unsigned> count = 0;
  return target.parent_path() / (".quillmere-" + std::to_string(getpid()) + "-" + std::to_string(count++) + ".part");
}

std::string remedy(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return "make its folder first";
    case EACCES:
    case EPERM:
    case EROFS:
      return "choose a folder that you may write to";
    case ENOSPC:
    case EDQUOT:
      return "make room on the disk";
    case EFBIG:
      return "raise the limit of file sizes (ulimit -f)";
    default:
      return "choose another name";
  }
}

// Renaming would put a file in the place of a device or pipe.
fs::path replaceable(fs::path target) {
  std::error_code failed;
  if (fs::is_symlink(target, failed)) {
    const fs::path linked = fs::weakly_canonical(target, failed);
    if (!failed) target = linked;
  }
  if (!target.has_filename()) throw Error("cannot write '" + target.string() + "': it names no file; add a file name");
  const fs::file_status status = fs::status(target, failed);
  if (fs::exists(status) && !fs::is_regular_file(status)) {
    throw Error("cannot write '" + target.string() + "': it is not an ordinary file; choose another name");
  }
  return target;
}

// A stream only knows that a write has failed; what kept it from being written keeps the next one, too.
int reasonOfEarlierFailure(std::FILE* stream) {
  const std::array<char, 1U << 14U> more{};
  errno = 0;
  std::fwrite(more.data(), 1, more.size(), stream);
  std::fflush(stream);
  return errno != 0 ? errno : EIO;
}

// The new name, too, is to outlast a power failure. Where that can't be had the file is there all the same.
void syncFolderOf(const fs::path& file) {
  const int folder =
      open(file.has_parent_path() ? file.parent_path().c_str() : ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) return;
  fsync(folder);
  close(folder);
}

}  // namespace

AtomicFile::AtomicFile(fs::path target) : target_(replaceable(std::move(target))) {
  int error = EEXIST;
  while (error == EEXIST) error = openNew();
  if (error != 0) fail(error);
}

AtomicFile::~AtomicFile() {
  if (!place_.empty()) unlink(place_.c_str());
}

int AtomicFile::openNew() {
  const fs::path place = hiddenNameBeside(target_);
  const int file = open(place.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (file < 0) return errno;
  stream_.reset(fdopen(file, "wb"));
  if (stream_ == nullptr) {
    const int error = errno;
    close(file);
    unlink(place.c_str());
    return error;
  }
  place_ = place;
  return 0;
}

void AtomicFile::commit() {
  errno = 0;
  if (std::fflush(stream_.get()) != 0) fail(errno);
  if (std::ferror(stream_.get()) != 0) fail(reasonOfEarlierFailure(stream_.get()));
  if (fsync(fileno(stream_.get())) != 0 && errno != EINVAL && errno != EROFS) fail(errno);  // of some file systems
  if (std::fclose(stream_.release()) != 0) fail(errno);
  if (std::rename(place_.c_str(), target_.c_str()) != 0) fail(errno);
  place_.clear();
  syncFolderOf(target_);
}

void AtomicFile::fail(int error) const {
  throw Error("cannot write '" + target_.string() + "': " + std::generic_category().message(error) + "; " +
              remedy(error));
}

void writeFile(const fs::path& target, std::string_view content) {
  AtomicFile file(target);
  std::fwrite(content.data(), 1, content.size(), file.stream());
  file.commit();
}

}  // namespace quillmere
