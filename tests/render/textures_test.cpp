// Reflection images: which are made, and what is read from files.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>

#include "render/dib_image.h"
#include "render_fixture.h"

namespace tessera::test {
namespace {

using Bytes = std::vector<unsigned char>;

void Put(Bytes& to, std::uint64_t value, int count) {
    for (int i = 0; i < count; ++i, value >>= 8) to.push_back(static_cast<unsigned char>(value));
}

// A bitmap of 3 by 2: red, green, blue below, white, black, red above.
Bytes Bitmap(int bits, bool fileHeader, bool downwards, bool core = false) {
    constexpr std::uint32_t kPalette[] = {0x000000, 0xff0000, 0x00ff00, 0x0000ff, 0xffffff};
    constexpr int kRows[2][3] = {{1, 2, 3}, {4, 0, 1}};  // of one bit each, the odd ones are red
    const int wide = core ? 2 : 4, colors = bits > 8 ? 0 : core || bits == 1 ? 1 << bits : 5;
    Bytes data;
    if (fileHeader) data = {'B', 'M'}, Put(data, 0, 8), Put(data, 14 + (core ? 12 : 40) + colors * (core ? 3 : 4), 4);
    Put(data, core ? 12 : 40, 4);
    Put(data, 3, wide), Put(data, downwards ? -2 : 2, wide);
    Put(data, 1, 2), Put(data, bits, 2);
    if (!core) Put(data, 0, 16), Put(data, colors == 5 ? 5 : 0, 4), Put(data, 0, 4);
    for (int i = 0; i < colors; ++i) Put(data, i < 5 ? kPalette[i] : 0, core ? 3 : 4);
    for (int y = 0; y < 2; ++y) {
        std::uint32_t packed = 0;  // of less than a byte each, the first one in the highest bits
        for (int index : kRows[downwards ? 1 - y : y]) {
            if (bits == 1) index %= 2;
            const std::uint32_t c = kPalette[index], c15 = (c >> 19 & 31) << 10 | (c >> 11 & 31) << 5 | (c >> 3 & 31);
            packed = packed << (bits & 7) | index;
            if (bits >= 8) Put(data, bits == 8 ? index : bits == 16 ? c15 : c, bits / 8);
        }
        if (bits == 1) Put(data, packed << 5, 4);
        if (bits == 4) Put(data, packed >> 4 | (packed & 15) << 12, 4);
        if (bits >= 8) Put(data, 0, (4 - 3 * bits / 8 % 4) % 4);
    }
    return data;
}

class Textures : public RenderTest {
protected:
    ~Textures() override { std::filesystem::remove(path); }
    String Write(const Bytes& data) {
        std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(data.data()), std::ssize(data));
        return FromAscii(path.c_str());
    }
    void Name(std::initializer_list<Placed> placed, const std::string& name) {
        const BSTR text = SysAllocString(std::filesystem::path(name).u16string().c_str());
        for (const Placed& each : placed) scene->SetEnvtexture(each.instance, text, &error);
        SysFreeString(text);
    }
    const std::string path =
        std::filesystem::temp_directory_path() / ("tessera-" + std::to_string(std::random_device()()) + ".bmp");
};

TEST_F(Textures, BitmapsOfEveryDepthAreRead) {
    for (const int bits : {1, 4, 8, 16, 24, 32})
        for (const bool header : {false, true})
            for (const bool downwards : {false, true}) {
                const auto image = LoadDIBImage(Write(Bitmap(bits, header, downwards)));
                ASSERT_TRUE(image) << bits;
                EXPECT_EQ(image->width * 100 + image->height, 302);
                Bytes expected = {255, 0, 0, 0, 255, 0, 0, 0, 255, 255, 255, 255, 0, 0, 0, 255, 0, 0};
                if (bits == 1) expected = {255, 0, 0, 0, 0, 0, 255, 0, 0, 0, 0, 0, 0, 0, 0, 255, 0, 0};
                EXPECT_EQ(image->pixels, expected) << bits;
            }
    EXPECT_TRUE(LoadDIBImage(Write(Bitmap(8, true, false, true))));
    // Cut anywhere, or of absurd size, nothing is read.
    const Bytes whole = Bitmap(24, true, false);
    for (Bytes cut = whole; !cut.empty();) {
        cut.pop_back();
        EXPECT_FALSE(LoadDIBImage(Write(cut))) << cut.size();
    }
    for (const std::size_t at : {14, 18, 22, 28, 30}) {
        Bytes broken = whole;
        broken[at + 1] = 0x7f;
        EXPECT_FALSE(LoadDIBImage(Write(broken))) << at;
    }
    EXPECT_FALSE(LoadDIBImage(FromAscii("/no/such/file.bmp")));
}

TEST_F(Textures, AreMadeOnceForAName) {
    const Placed a = scene.AddMesh(Cube()), b = scene.AddMesh(Cube());
    scene.SetShadeMode(0, 11);
    Write(Bitmap(24, true, false));
    // How many textures a draw makes, on how many strips it has one, and whether the two cubes have the same.
    using Made = std::array<int, 3>;
    const auto drawn = [&] {
        const Drawing drawing(scene);
        const auto& p = drawing.Primitives();
        const auto with = std::count_if(p.begin(), p.end(), [](const auto& each) { return each.state.texture > 0; });
        return Made{drawing.Count("glTexImage2D"), int(with), p.front().state.texture == p.back().state.texture};
    };
    EXPECT_EQ(drawn(), (Made{1, 12, 1})) << "new parts share the default";
    Name({a}, "KMStripes");
    EXPECT_EQ(drawn(), (Made{1, 12, 0}));
    EXPECT_EQ(drawn(), (Made{0, 12, 0}));
    Name({b}, "KMStripes");
    EXPECT_EQ(drawn(), (Made{0, 12, 1}));
    scene->ClearTextures(&error);
    EXPECT_EQ(error, 1);
    EXPECT_EQ(drawn(), (Made{1, 12, 1}));
    Name({a, b}, path);
    EXPECT_EQ(drawn(), (Made{1, 12, 1}));
    Name({a, b}, "kmdefault");
    EXPECT_EQ(drawn(), (Made{0, 0, 1}));
}

}  // namespace
}  // namespace tessera::test
