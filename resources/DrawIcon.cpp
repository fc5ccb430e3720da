// Draws the program's icon and writes it as zorvel.ico and zorvel-<size>.png: draw_icon <folder>
//
// A violet rounded square with a white Z. Every size is drawn separately, each pixel from 16 by 16 samples. The
// arithmetic has the same result on every machine, so the files beside this one can be reproduced byte for byte. Linux
// only. Run by hand: the files are kept with the sources.
#include <png.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

/// In thousandths of the icon's side, y downwards.
struct Point {
    double x = 0;
    double y = 0;
};

constexpr std::array<Point, 10> letter{{{270, 255},
                                        {730, 255},
                                        {730, 370},
                                        {465, 625},
                                        {730, 625},
                                        {730, 745},
                                        {270, 745},
                                        {270, 630},
                                        {535, 375},
                                        {270, 375}}};
constexpr double margin = 40;
constexpr double radius = 210;
constexpr int samples = 16;

constexpr std::array<int, 3> topColor{151, 104, 250};
constexpr std::array<int, 3> bottomColor{115, 62, 212};

constexpr std::array<int, 6> iconSizes{16, 24, 32, 48, 64, 256};
constexpr std::array<int, 5> pictureSizes{16, 32, 48, 128, 256};

bool InSquare(const Point& point) {
    // The distance to the nearest point of the inner square, whose corners are the centres of the rounded corners.
    const double x = std::clamp(point.x, margin + radius, 1000 - margin - radius) - point.x;
    const double y = std::clamp(point.y, margin + radius, 1000 - margin - radius) - point.y;
    return x * x + y * y <= radius * radius;
}

/// Counts the edges that a ray to the right crosses.
bool InLetter(const Point& point) {
    bool inside = false;
    for (std::size_t i = 0; i < letter.size(); ++i) {
        const Point& from = letter[i];
        const Point& to = letter[(i + 1) % letter.size()];
        if ((from.y > point.y) != (to.y > point.y) &&
            point.x < from.x + (to.x - from.x) * (point.y - from.y) / (to.y - from.y)) {
            inside = !inside;
        }
    }
    return inside;
}

/// Interpolates between `from` and `to` at `part` / `whole`, rounded.
int Between(int from, int to, int part, int whole) { return (from * (whole - part) + to * part + whole / 2) / whole; }

/// Red, green, blue and straight alpha.
std::array<std::uint8_t, 4> PixelAt(int column, int row, int size) {
    int square = 0;
    int white = 0;
    for (int i = 0; i < samples * samples; ++i) {
        const Point point{1000.0 * (column * samples * 2 + i % samples * 2 + 1) / (size * samples * 2),
                          1000.0 * (row * samples * 2 + i / samples * 2 + 1) / (size * samples * 2)};
        square += InSquare(point) ? 1 : 0;
        white += InLetter(point) ? 1 : 0;
    }
    std::array<std::uint8_t, 4> pixel{};
    for (std::size_t channel = 0; square > 0 && channel < 3; ++channel) {
        const int violet = Between(topColor[channel], bottomColor[channel], 2 * row + 1, 2 * size);
        pixel[channel] = static_cast<std::uint8_t>(Between(violet, 255, std::min(white, square), square));
    }
    pixel[3] = static_cast<std::uint8_t>(Between(0, 255, square, samples * samples));
    return pixel;
}

/// Rows from the top, four bytes a pixel.
Bytes Draw(int size) {
    Bytes picture;
    for (int i = 0; i < size * size; ++i) {
        const auto pixel = PixelAt(i % size, i / size, size);
        picture.insert(picture.end(), pixel.begin(), pixel.end());
    }
    return picture;
}

Bytes PngOf(int size) {
    const Bytes picture = Draw(size);
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(size);
    image.height = static_cast<png_uint_32>(size);
    image.format = PNG_FORMAT_RGBA;
    png_alloc_size_t length = PNG_IMAGE_PNG_SIZE_MAX(image);
    Bytes file(length);
    if (png_image_write_to_memory(&image, file.data(), &length, 0, picture.data(), 0, nullptr) == 0) {
        return {};
    }
    file.resize(length);
    return file;
}

void Append(Bytes& bytes, std::uint32_t value, int count) {
    for (int i = 0; i < count; ++i) {
        bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    }
}

/// The uncompressed format of icons: a header with twice the height, rows from the bottom in blue, green, red, alpha,
/// and a mask of one bit a pixel, which is empty because the pixels have alpha.
Bytes BitmapOf(int size) {
    const Bytes picture = Draw(size);
    const auto side = static_cast<std::size_t>(size);
    const std::size_t maskBytes = (side + 31) / 32 * 4 * side;
    Bytes bytes;
    Append(bytes, 40, 4);
    Append(bytes, static_cast<std::uint32_t>(size), 4);
    Append(bytes, static_cast<std::uint32_t>(2 * size), 4);
    Append(bytes, 1, 2);
    Append(bytes, 32, 2);
    Append(bytes, 0, 4);
    Append(bytes, static_cast<std::uint32_t>(picture.size() + maskBytes), 4);
    bytes.resize(40);
    for (std::size_t row = side; row-- > 0;) {
        for (std::size_t column = 0; column < side; ++column) {
            const std::uint8_t* pixel = &picture[4 * (row * side + column)];
            bytes.insert(bytes.end(), {pixel[2], pixel[1], pixel[0], pixel[3]});
        }
    }
    bytes.resize(bytes.size() + maskBytes);
    return bytes;
}

Bytes IconFile() {
    Bytes file;
    Append(file, 0, 2);
    Append(file, 1, 2);
    Append(file, iconSizes.size(), 2);
    Bytes pictures;
    for (const int size : iconSizes) {
        const Bytes picture = size < 256 ? BitmapOf(size) : PngOf(size);
        Append(file, static_cast<std::uint32_t>(size % 256), 1);
        Append(file, static_cast<std::uint32_t>(size % 256), 1);
        Append(file, 0, 2);
        Append(file, 1, 2);
        Append(file, 32, 2);
        Append(file, static_cast<std::uint32_t>(picture.size()), 4);
        Append(file, static_cast<std::uint32_t>(6 + 16 * iconSizes.size() + pictures.size()), 4);
        pictures.insert(pictures.end(), picture.begin(), picture.end());
    }
    file.insert(file.end(), pictures.begin(), pictures.end());
    return file;
}

bool Write(const std::filesystem::path& path, const Bytes& bytes) {
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return !bytes.empty() && file.flush().good();
}

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) {
        std::fputs("Usage: draw_icon <folder>\n", stderr);
        return 2;
    }
    const std::filesystem::path folder = arguments[1];
    bool written = Write(folder / "zorvel.ico", IconFile());
    for (const int size : pictureSizes) {
        written = Write(folder / ("zorvel-" + std::to_string(size) + ".png"), PngOf(size)) && written;
    }
    if (!written) {
        std::fputs("The icon could not be written.\n", stderr);
    }
    return written ? 0 : 1;
}
