// A client that hands files to SDL 2: a picture and a sound written and loaded by SDL's own functions through
// the library.

#include "vl/sdl.h"
#include "vl/vl.h"

#include <SDL.h>

#include <cstdio>
#include <cstring>

#define REQUIRE(condition)                                                                                   \
    do {                                                                                                     \
        if (!(condition)) {                                                                                  \
            std::printf("%s: %s\n", #condition, SDL_GetError());                                             \
            return 1;                                                                                        \
        }                                                                                                    \
    } while (false)

int main(int, char **) {
    const V_VantorInit library;
    Sys->ceaseVerbose(1);
    SDL_Surface *const drawn = SDL_CreateRGBSurface(0, 19, 7, 32, 0xFF0000, 0xFF00, 0xFF, 0);
    std::memset(drawn->pixels, 0x5A, static_cast<std::size_t>(drawn->pitch) * 7);
    REQUIRE(SDL_SaveBMP_RW(drawn, V_SDL_openWrite("sdl picture.bmp"), 1) == 0);
    SDL_Surface *const loaded = SDL_LoadBMP_RW(V_SDL_openRead("SDL PICTURE.BMP"), 1);
    REQUIRE(loaded && loaded->w == 19 && loaded->h == 7);
    SDL_FreeSurface(drawn);
    SDL_FreeSurface(loaded);

    SDL_RWops *const stream = V_SDL_openRead("sdl picture.bmp");
    char magic[2];
    REQUIRE(SDL_RWread(stream, magic, 1, 2) == 2 && std::memcmp(magic, "BM", 2) == 0);
    REQUIRE(SDL_RWseek(stream, -1, RW_SEEK_END) == SDL_RWsize(stream) - 1);
    REQUIRE(SDL_RWread(stream, magic, 1, 2) == 1);
    REQUIRE(SDL_RWseek(stream, -1, RW_SEEK_SET) == -1);
    REQUIRE(SDL_RWwrite(stream, magic, 1, 1) == 0);
    REQUIRE(SDL_RWclose(stream) == 0);
    File->del("sdl picture.bmp");

    REQUIRE(V_SDL_openWrite("no\\such\\directory\\file") == nullptr);
    REQUIRE(std::strcmp(SDL_GetError(),
                        "Unable to open \"no\\such\\directory\\file\": No such file or directory") == 0);
    REQUIRE(V_SDL_openRead("No such file") == nullptr);
    std::printf("%s\n", SDL_GetError());
    return 0;
}
