// Files of the name space as streams of SDL 2, so that what loads from an SDL_RWops (SDL_image, SDL_ttf,
// SDL_mixer) loads from archives, too, in one call. Opt-in, no other header of the library includes it; all
// of it is inline, and needs SDL 2 of the program.
//
//     SDL_Surface *const logo = IMG_Load_RW(V_SDL_openRead("pictures/logo.png"), 1);
#pragma once

#include "vl/core/exception.h"
#include "vl/file/reader.h"
#include "vl/file/writer.h"

#include <SDL_error.h>
#include <SDL_rwops.h>

#include <algorithm>
#include <limits>
#include <new>

namespace vl {
namespace sdl {

/// Calls `action()`, which must not throw through SDL: what it throws becomes SDL's error, and `failed` the
/// result.
template <class Result, class Action>
Result guarded(Result failed, const Action &action) {
    try {
        return action();
    } catch (const V_Exception *exception) {
        SDL_SetError("%s", exception->getErrorMessage());
    } catch (const std::bad_alloc &) {
        SDL_SetError("Out of memory");
    }
    return failed;
}

/// The position that a seek asks for; -1 when it lies before the start or beyond 32 bits.
inline Sint64 target(Sint64 offset, int whence, Sint64 position, Sint64 size) {
    const Sint64 from = whence == RW_SEEK_SET ? 0 : whence == RW_SEEK_CUR ? position : size;
    const Sint64 to = from + offset;
    if (to >= 0 && to <= std::numeric_limits<unsigned int>::max())
        return to;
    return SDL_SetError("Seek to no position of the file");
}

template <class File>
File *fileOf(SDL_RWops *stream) {
    return static_cast<File *>(stream->hidden.unknown.data1);
}

template <class File>
Sint64 size(SDL_RWops *stream) {
    return fileOf<File>(stream)->getSize();
}

template <class File>
Sint64 seek(SDL_RWops *stream, Sint64 offset, int whence) {
    File *const file = fileOf<File>(stream);
    const Sint64 to = target(offset, whence, file->getPosition(), file->getSize());
    return to < 0 ? to : guarded(Sint64{-1}, [&]() -> Sint64 {
        file->seek(static_cast<unsigned int>(to));
        return file->getPosition();
    });
}

/// Of `count` items of `size` bytes how many one call may move: those whose bytes 32 bits hold.
inline std::size_t countThatFits(std::size_t size, std::size_t count) {
    return size == 0 ? 0 : std::min<std::size_t>(count, std::numeric_limits<unsigned int>::max() / size);
}

inline std::size_t read(SDL_RWops *stream, void *out, std::size_t size, std::size_t count) {
    return guarded(std::size_t{0}, [&] {
        const std::size_t wanted = countThatFits(size, count);
        return wanted == 0
                   ? wanted
                   : fileOf<V_FileReader>(stream)->read(out, static_cast<unsigned int>(size * wanted)) / size;
    });
}

inline std::size_t write(SDL_RWops *stream, const void *data, std::size_t size, std::size_t count) {
    return guarded(std::size_t{0}, [&] {
        const std::size_t wanted = countThatFits(size, count);
        fileOf<V_FileWriter>(stream)->write(data, static_cast<unsigned int>(size * wanted));
        return wanted;
    });
}

inline std::size_t readNothing(SDL_RWops *, void *, std::size_t, std::size_t) {
    SDL_SetError("The file is open for writing");
    return 0;
}

inline std::size_t writeNothing(SDL_RWops *, const void *, std::size_t, std::size_t) {
    SDL_SetError("The file is open for reading");
    return 0;
}

inline int closeReader(SDL_RWops *stream) {
    delete fileOf<V_FileReader>(stream);
    SDL_FreeRW(stream);
    return 0;
}

inline int closeWriter(SDL_RWops *stream) {
    V_FileWriter *const file = fileOf<V_FileWriter>(stream);
    const int result = guarded(-1, [file] {
        file->close();
        return 0;
    });
    delete file;
    SDL_FreeRW(stream);
    return result;
}

/// A stream over the file that `open()` makes; null, with SDL's error set, when it cannot.
template <class Open>
SDL_RWops *newStream(const Open &open) {
    SDL_RWops *const stream = SDL_AllocRW(); // which says itself what fails
    if (!stream)
        return nullptr;
    stream->type = SDL_RWOPS_UNKNOWN;
    stream->hidden.unknown.data1 = guarded(static_cast<decltype(open())>(nullptr), open);
    if (stream->hidden.unknown.data1)
        return stream;
    SDL_FreeRW(stream);
    return nullptr;
}

} // namespace sdl
} // namespace vl

/// A stream that reads and seeks in a file of the name space, as V_FileReader does it. SDL_RWclose ends it.
/// Null when the file cannot be opened, and 0 items when it cannot be read: SDL_GetError has the message.
inline SDL_RWops *V_SDL_openRead(const char *name) {
    SDL_RWops *const stream = vl::sdl::newStream([name] { return new V_FileReader(name); });
    if (stream) {
        stream->size = vl::sdl::size<V_FileReader>;
        stream->seek = vl::sdl::seek<V_FileReader>;
        stream->read = vl::sdl::read;
        stream->write = vl::sdl::writeNothing;
        stream->close = vl::sdl::closeReader;
    }
    return stream;
}

/// The same of one that is written, as V_FileWriter does it; SDL_RWclose tells by -1 what fails at the end. A
/// file of mode V_FileWriter::REPLACE would be given up there, since SDL has no word for commit.
inline SDL_RWops *V_SDL_openWrite(const char *name, V_FileWriter::Mode mode = V_FileWriter::CREATE) {
    SDL_RWops *const stream = vl::sdl::newStream([name, mode] { return new V_FileWriter(name, mode); });
    if (stream) {
        stream->size = vl::sdl::size<V_FileWriter>;
        stream->seek = vl::sdl::seek<V_FileWriter>;
        stream->read = vl::sdl::readNothing;
        stream->write = vl::sdl::write;
        stream->close = vl::sdl::closeWriter;
    }
    return stream;
}
