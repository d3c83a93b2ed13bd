// Draws what the noise and its curves look like, as PNG files: noise_gallery DIRECTORY
//
//   noise_line.png    M_snoise in one dimension (blue) and its signed turbulence of four octaves (orange)
//   noise_slices.png  four slices through three-dimensional noise, a quarter of a cell apart
//   turbulence.png    three-dimensional turbulence with 1, 2, 3 and 4 octaves
//   bias.png          M_bias for b = 0.1, 0.25, 0.5, 0.75 and 0.9, violet to red
//   gain.png          M_gain for the same b

#include "vl/math_types.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <png.h>
#include <string>
#include <vector>

namespace {

using Vector3 = M_Vector3Template<float>;
using Colour = std::array<std::uint8_t, 3>;

const M_MathInit mathInit;

class Picture {
  public:
    Picture(int width, int height)
        : m_iWidth(width), m_iHeight(height),
          m_pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height),
                   Colour{255, 255, 255}) {}

    int width() const { return m_iWidth; }
    int height() const { return m_iHeight; }
    Colour &at(int x, int y) { return *(m_pixels.begin() + y * m_iWidth + x); }

    /// False when the file cannot be written; the reason is then on standard error.
    bool save(const std::filesystem::path &path) const {
        png_image image = {};
        image.version = PNG_IMAGE_VERSION;
        image.width = static_cast<png_uint_32>(m_iWidth);
        image.height = static_cast<png_uint_32>(m_iHeight);
        image.format = PNG_FORMAT_RGB;
        if (!png_image_write_to_file(&image, path.string().c_str(), 0, m_pixels.data(), 0, nullptr)) {
            std::fprintf(stderr, "noise_gallery: %s: %s\n", path.string().c_str(), image.message);
            return false;
        }
        return true;
    }

  private:
    int m_iWidth, m_iHeight;
    std::vector<Colour> m_pixels;
};

/// Four square tiles in a row; brightness(tile, x, y) takes x and y in lattice cells and gives 0 to 1.
template <class Brightness>
Picture drawTiles(const Brightness &brightness) {
    constexpr int tiles = 4, tileSize = 176, gap = 8;
    constexpr float cellsAcross = 6.0f;
    Picture picture(tiles * tileSize + (tiles - 1) * gap, tileSize);
    for (int tile = 0; tile < tiles; ++tile) {
        for (int y = 0; y < tileSize; ++y) {
            for (int x = 0; x < tileSize; ++x) {
                const float scale = cellsAcross / tileSize;
                const float value =
                    brightness(tile, static_cast<float>(x) * scale, static_cast<float>(y) * scale);
                const auto grey = static_cast<std::uint8_t>(std::clamp(value, 0.0f, 1.0f) * 255.0f);
                picture.at(tile * (tileSize + gap) + x, y) = {grey, grey, grey};
            }
        }
    }
    return picture;
}

/// Lines at the quarters of the picture.
void drawGrid(Picture &picture) {
    for (int line = 0; line <= 4; ++line) {
        const int gridX = line * (picture.width() - 1) / 4, gridY = line * (picture.height() - 1) / 4;
        for (int y = 0; y < picture.height(); ++y)
            picture.at(gridX, y) = {225, 225, 225};
        for (int x = 0; x < picture.width(); ++x)
            picture.at(x, gridY) = {225, 225, 225};
    }
}

/// The graph of a function from 0..1 (left to right) to 0..1 (bottom to top). Each pixel is covered by how
/// near the graph passes, its slope taken into account, so that lines are smooth and evenly wide.
template <class Function>
void drawGraph(Picture &picture, Colour colour, const Function &function) {
    const auto height = [&](float x) {
        const auto top = static_cast<float>(picture.height() - 1);
        return top - function(std::clamp(x / static_cast<float>(picture.width() - 1), 0.0f, 1.0f)) * top;
    };
    for (int x = 0; x < picture.width(); ++x) {
        const float middle = height(static_cast<float>(x));
        const float before = height(static_cast<float>(x) - 0.5f),
                    after = height(static_cast<float>(x) + 0.5f);
        const float low = std::min({before, middle, after}), high = std::max({before, middle, after});
        const float width = 1.2f * std::min(std::hypot(1.0f, high - low), 2.0f);
        for (int y = 0; y < picture.height(); ++y) {
            const auto row = static_cast<float>(y);
            const float distance = std::max({low - row, row - high, 0.0f});
            const float cover = std::clamp(width - distance, 0.0f, 1.0f);
            Colour &pixel = picture.at(x, y);
            for (std::size_t part = 0; part < pixel.size(); ++part)
                pixel[part] =
                    static_cast<std::uint8_t>(std::lround(static_cast<float>(pixel[part]) * (1.0f - cover) +
                                                          static_cast<float>(colour[part]) * cover));
        }
    }
}

Picture drawCurves(float (*curve)(float, float)) {
    Picture picture(257, 257);
    drawGrid(picture);
    const struct {
        float strength;
        Colour colour;
    } curves[] = {{0.1f, {117, 63, 181}},
                  {0.25f, {31, 119, 180}},
                  {0.5f, {70, 70, 70}},
                  {0.75f, {236, 134, 16}},
                  {0.9f, {205, 40, 48}}};
    for (const auto &[strength, colour] : curves)
        drawGraph(picture, colour, [&, b = strength](float a) { return curve(a, b); });
    return picture;
}

Picture drawLine() {
    constexpr float cellsAcross = 12.0f;
    Picture picture(720, 201);
    drawGrid(picture);
    drawGraph(picture, {236, 134, 16},
              [&](float x) { return 0.5f + 0.5f * M_sturbulence(x * cellsAcross, 8.0f); });
    drawGraph(picture, {31, 119, 180}, [&](float x) { return M_noise(x * cellsAcross); });
    return picture;
}

} // namespace

int main(int count, char **arguments) {
    if (count != 2) {
        std::fputs("usage: noise_gallery DIRECTORY\n", stderr);
        return 2;
    }
    const std::filesystem::path directory = arguments[1];
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    if (error) {
        std::fprintf(stderr, "noise_gallery: %s: %s\n", arguments[1], error.message().c_str());
        return 1;
    }

    const Picture slices = drawTiles([](int tile, float x, float y) {
        return M_noise(Vector3{x, y, 0.25f * static_cast<float>(tile) + 0.25f});
    });
    // The octaves' weights 1 / f add up to 2 - 1 / frequency; the contrast is raised a little.
    const Picture turbulence = drawTiles([](int tile, float x, float y) {
        const auto frequency = static_cast<float>(1 << tile);
        const float mean =
            M_turbulence(Vector3{x * 0.5f, y * 0.5f, 0.3f}, frequency) / (2.0f - 1.0f / frequency);
        return 0.5f + 1.6f * (mean - 0.5f);
    });
    const struct {
        const char *name;
        const Picture &picture;
    } pictures[] = {{"noise_line.png", drawLine()},
                    {"noise_slices.png", slices},
                    {"turbulence.png", turbulence},
                    {"bias.png", drawCurves(M_bias)},
                    {"gain.png", drawCurves(M_gain)}};
    for (const auto &[name, picture] : pictures) {
        if (!picture.save(directory / name))
            return 1;
        std::printf("%s\n", (directory / name).string().c_str());
    }
    return 0;
}
