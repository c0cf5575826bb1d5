// A disk that stops answering. Preloaded into a program, it lets whoever opens something below the
// folder $HANGING_FOLDER wait for ever, as a network file system does whose server is gone; with
// $HANGING_LOOKS set also whoever only looks at something there. Each who waits says so.
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdlib>
#include <cstring>

namespace {

void waitBelow(const char* folder, const char* path)
{
    if (folder != nullptr && path != nullptr &&
        std::strncmp(path, folder, std::strlen(folder)) == 0) {
        constexpr char said[] = "the disk does not answer\n";
        static_cast<void>(!::write(STDERR_FILENO, said, sizeof(said) - 1));
        while (true) {
            ::pause();
        }
    }
}

void open(const char* path)
{
    waitBelow(std::getenv("HANGING_FOLDER"), path);
}

void look(const char* path)
{
    if (std::getenv("HANGING_LOOKS") != nullptr) {
        open(path);
    }
}

template <class Function>
Function* real(const char* name)
{
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

/// The mode of an open that creates; else it means nothing.
mode_t modeIn(va_list& arguments)
{
    return va_arg(arguments, mode_t);
}

} // namespace

extern "C" {

// NOLINTBEGIN(cert-dcl50-cpp): these functions are what the C library says they are

int open(const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeIn(arguments);
    va_end(arguments);
    open(path);
    return real<int(const char*, int, ...)>("open")(path, flags, mode);
}

int open64(const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeIn(arguments);
    va_end(arguments);
    open(path);
    return real<int(const char*, int, ...)>("open64")(path, flags, mode);
}

int openat(int folder, const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeIn(arguments);
    va_end(arguments);
    open(path);
    return real<int(int, const char*, int, ...)>("openat")(folder, path, flags, mode);
}

DIR* opendir(const char* path)
{
    open(path);
    return real<DIR*(const char*)>("opendir")(path);
}

int stat(const char* path, struct stat* into)
{
    look(path);
    return real<int(const char*, struct stat*)>("stat")(path, into);
}

int lstat(const char* path, struct stat* into)
{
    look(path);
    return real<int(const char*, struct stat*)>("lstat")(path, into);
}

char* realpath(const char* path, char* into)
{
    look(path);
    return real<char*(const char*, char*)>("realpath")(path, into);
}

// NOLINTEND(cert-dcl50-cpp)
}
