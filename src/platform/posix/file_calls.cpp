#include "platform/posix/file_calls.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

int FileCalls::open(const char* path, int flags, mode_t mode) {
    return ::open(path, flags, mode);
}

int FileCalls::flock(int file, int operation) {
    return ::flock(file, operation);
}

ssize_t FileCalls::pread(int file, void* bytes, std::size_t count, off_t at) {
    return ::pread(file, bytes, count, at);
}

ssize_t FileCalls::pwrite(int file, const void* bytes, std::size_t count, off_t at) {
    return ::pwrite(file, bytes, count, at);
}

int FileCalls::fallocate(int file, int mode, off_t at, off_t count) {
    return ::fallocate(file, mode, at, count);
}

int FileCalls::ftruncate(int file, off_t size) {
    return ::ftruncate(file, size);
}

int FileCalls::fdatasync(int file) {
    return ::fdatasync(file);
}

int FileCalls::fsync(int file) {
    return ::fsync(file);
}

int FileCalls::fstat(int file, struct stat* facts) {
    return ::fstat(file, facts);
}

int FileCalls::fstatvfs(int file, struct statvfs* facts) {
    return ::fstatvfs(file, facts);
}

int FileCalls::futimens(int file, const timespec times[2]) {
    return ::futimens(file, times);
}

int FileCalls::unlink(const char* path) {
    return ::unlink(path);
}

FileCalls& systemFileCalls() {
    static FileCalls& calls = *new FileCalls; // never destroyed: handlers of exit() close files
    return calls;
}
