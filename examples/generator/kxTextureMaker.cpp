#include "kxTextureMaker.h"

#include "kxMakerMath.h"

#include <utility>

namespace Kel::Examples
{

namespace
{

using kxColor = std::array<uint8_t, 4>;

/// Fills an image by asking `colorAt` for every pixel.
template <typename ColorAt>
kxSceneImage paint(std::string name, uint32_t width, uint32_t height, uint32_t channelCount, ColorAt colorAt)
{
    kxSceneImage image;
    image.name = std::move(name);
    image.width = width;
    image.height = height;
    image.channelCount = channelCount;
    image.pixels.reserve(size_t(width) * height * channelCount);
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x)
        {
            const kxColor color = colorAt(x, y);
            image.pixels.insert(image.pixels.end(), color.begin(), color.begin() + channelCount);
        }
    return image;
}

kxColor gray(int value)
{
    const auto component = static_cast<uint8_t>(value);
    return {component, component, component, 255};
}

/// A number of its own for each cell of a pattern, 0 to `count` - 1.
uint32_t cellNumber(uint32_t column, uint32_t row, uint32_t count)
{
    kxMakerRandom random(column * 7919u + row * 104729u + 17u);
    return random.below(count);
}

} // namespace

kxSceneImage paintTiles(std::string name, uint32_t size)
{
    const uint32_t tile = size / 4;
    return paint(
        std::move(name), size, size, 3,
        [=](uint32_t x, uint32_t y)
        {
            const uint32_t row = y / tile;
            const uint32_t shifted = (x + (row % 2) * tile / 2) % size;
            const bool isGap = shifted % tile == 0 || y % tile == tile - 1;
            const bool isEdge = y % tile >= tile - 3;
            return gray(isGap ? 120 : (isEdge ? 176 : 214) + 10 * static_cast<int>(cellNumber(shifted / tile, row, 4)));
        });
}

kxSceneImage paintPlanks(std::string name, uint32_t size)
{
    const uint32_t plank = size / 4;
    return paint(std::move(name), size, size, 3,
                 [=](uint32_t x, uint32_t y)
                 {
                     const uint32_t number = cellNumber(y / plank, 3, 5);
                     const bool isGap = y % plank == 0 || (x + number * size / 5) % size == 0;
                     const bool isGrain = (y + x / 16) % 7 == 3;
                     const int shade = isGap ? 70 : 180 + 12 * static_cast<int>(number) - (isGrain ? 18 : 0);
                     return kxColor{static_cast<uint8_t>(shade), static_cast<uint8_t>(shade * 4 / 5),
                                    static_cast<uint8_t>(shade * 3 / 5), 255};
                 });
}

kxSceneImage paintMasonry(std::string name, uint32_t size)
{
    const uint32_t course = size / 8;
    return paint(std::move(name), size, size, 3,
                 [=](uint32_t x, uint32_t y)
                 {
                     const uint32_t row = y / course;
                     const uint32_t shifted = (x + (row % 2) * course) % size;
                     const bool isJoint = y % course == 0 || shifted % (2 * course) == 0;
                     return gray(isJoint ? 140
                                         : 190 + 12 * static_cast<int>(cellNumber(shifted / (2 * course), row, 5)));
                 });
}

kxSceneImage paintPlaster(std::string name, uint32_t size)
{
    return paint(std::move(name), size, size, 3,
                 [](uint32_t x, uint32_t y) { return gray(232 + 6 * static_cast<int>(cellNumber(x / 4, y / 2, 4))); });
}

kxSceneImage paintPaving(std::string name, uint32_t size)
{
    const uint32_t stone = size / 8;
    return paint(std::move(name), size, size, 4,
                 [=](uint32_t x, uint32_t y)
                 {
                     const uint32_t row = y / stone;
                     const uint32_t shifted = (x + (row % 2) * stone / 2) % size;
                     const bool isJoint = y % stone == 0 || shifted % stone == 0;
                     const int shade = isJoint ? 120 : 176 + 10 * static_cast<int>(cellNumber(shifted / stone, row, 5));
                     return kxColor{static_cast<uint8_t>(shade), static_cast<uint8_t>(shade - 4),
                                    static_cast<uint8_t>(shade - 16), 255};
                 });
}

kxSceneImage paintStripes(std::string name, uint32_t size)
{
    return paint(std::move(name), size, size, 3,
                 [=](uint32_t x, uint32_t) { return gray(x / (size / 4) % 2 == 0 ? 255 : 110); });
}

kxSceneImage paintSign(std::string name, uint32_t size)
{
    const int half = static_cast<int>(size) / 2;
    const int border = half / 12;
    return paint(std::move(name), size, size, 3,
                 [=](uint32_t pixelX, uint32_t pixelY)
                 {
                     const int x = static_cast<int>(pixelX) - half;
                     const int y = static_cast<int>(pixelY) - half;
                     const int edge = half - border;
                     if (x < -edge || x >= edge || y < -edge || y >= edge)
                         return kxColor{196, 150, 60, 255};
                     // The body is an ellipse, the tail a wedge behind it, the eye a dot.
                     const int bodyX = x + half / 8;
                     const bool isBody = bodyX * bodyX * 9 + y * y * 36 < half * half * 4;
                     const int tailX = x - half * 2 / 5;
                     const bool isTail = tailX > 0 && tailX < half / 3 && y < tailX && y > -tailX;
                     const int eyeX = x + half / 2;
                     const int eyeY = y + half / 10;
                     if (eyeX * eyeX + eyeY * eyeY < half * half / 900)
                         return kxColor{20, 30, 60, 255};
                     return isBody || isTail ? kxColor{236, 232, 214, 255} : kxColor{28, 74, 128, 255};
                 });
}

kxSceneImage paintNet(std::string name, uint32_t size)
{
    const uint32_t mesh = size / 4;
    return paint(std::move(name), size, size, 4,
                 [=](uint32_t x, uint32_t y)
                 {
                     const bool isCord = (x + y) % mesh < 3 || (x + size - y) % mesh < 3;
                     return isCord ? kxColor{96, 122, 104, 255} : kxColor{96, 122, 104, 0};
                 });
}

kxSceneImage paintFlag(std::string name, uint32_t width, uint32_t height)
{
    return paint(std::move(name), width, height, 3,
                 [=](uint32_t x, uint32_t y)
                 {
                     const int crossX = static_cast<int>(x) - static_cast<int>(width) * 3 / 8;
                     const int crossY = static_cast<int>(y) - static_cast<int>(height) / 2;
                     const int arm = static_cast<int>(height) / 10;
                     if ((crossX > -arm && crossX < arm) || (crossY > -arm && crossY < arm))
                         return kxColor{244, 240, 226, 255};
                     return kxColor{24, 92, 120, 255};
                 });
}

float linearComponent(int component)
{
    const double value = component / 255.0;
    return static_cast<float>(
        onGrid(value * (value * (value * 0.305306011 + 0.682171111) + 0.012522878), kPositionGrid));
}

} // namespace Kel::Examples
