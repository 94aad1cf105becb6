// Reflection images: which are made, and what is read from files.
#include <cstdlib>
#include <filesystem>
#include <fstream>

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
    int rows[2][3] = {{1, 2, 3}, {4, 0, 1}};
    if (bits == 1) rows[0][1] = rows[0][2] = rows[1][1] = 0, rows[1][0] = 1;
    Bytes data;
    Put(data, core ? 12 : 40, 4);
    Put(data, 3, core ? 2 : 4);
    Put(data, static_cast<std::uint32_t>(downwards ? -2 : 2), core ? 2 : 4);
    Put(data, 1, 2);
    Put(data, static_cast<std::uint32_t>(bits), 2);
    if (!core) {
        Put(data, 0, 16);
        Put(data, bits <= 8 && bits > 1 ? 5 : 0, 4);
        Put(data, 0, 4);
    }
    const int colors = bits > 8 ? 0 : core || bits == 1 ? 1 << bits : 5;
    for (int i = 0; i < colors; ++i) Put(data, i < 5 ? kPalette[i] : 0, core ? 3 : 4);
    for (int y = 0; y < 2; ++y) {
        const std::size_t start = data.size();
        std::uint32_t packed = 0;
        for (int x = 0; x < 3; ++x) {
            const int index = rows[downwards ? 1 - y : y][x];
            const std::uint32_t c = kPalette[index];
            if (bits < 8) packed |= static_cast<std::uint32_t>(index) << (8 - bits * (x % (8 / bits) + 1));
            if (bits < 8 && (x == 2 || (x + 1) % (8 / bits) == 0)) {
                Put(data, packed, 1);
                packed = 0;
            }
            if (bits == 8) Put(data, static_cast<std::uint32_t>(index), 1);
            if (bits == 16) Put(data, (c >> 19 & 31) << 10 | (c >> 11 & 31) << 5 | (c >> 3 & 31), 2);
            if (bits >= 24) Put(data, c, bits / 8);
        }
        while ((data.size() - start) % 4 != 0) data.push_back(0);
    }
    if (!fileHeader) return data;
    Bytes file{'B', 'M'};
    Put(file, 0, 8);
    Put(file, static_cast<std::uint32_t>(14 + (core ? 12 : 40) + colors * (core ? 3 : 4)), 4);
    file.insert(file.end(), data.begin(), data.end());
    return file;
}

class Textures : public RenderTest {
protected:
    Textures()
        : path(
              (std::filesystem::temp_directory_path() / ("tessera-" + std::to_string(std::rand()) + ".bmp")).string()) {
    }
    ~Textures() override { std::filesystem::remove(path); }
    String Write(const Bytes& data) {
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char*>(data.data()), static_cast<std::streamsize>(data.size()));
        return FromAscii(path.c_str());
    }
    void Name(int node, const std::string& name) {
        const String text = FromAscii(name.c_str());
        const BSTR bstr = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
        scene->SetEnvtexture(node, bstr, &error);
        SysFreeString(bstr);
    }
    std::string path;
};

TEST_F(Textures, BitmapsOfEveryDepthAreRead) {
    for (const int bits : {1, 4, 8, 16, 24, 32})
        for (const bool header : {false, true})
            for (const bool downwards : {false, true}) {
                SCOPED_TRACE(std::to_string(bits) + " bits");
                const auto image = LoadDIBImage(Write(Bitmap(bits, header, downwards)));
                ASSERT_TRUE(image);
                EXPECT_EQ(image->width * 100 + image->height, 302);
                const Bytes expected = bits == 1
                                           ? Bytes{255, 0, 0, 0, 0, 0, 0, 0, 0, 255, 0, 0, 0, 0, 0, 255, 0, 0}
                                           : Bytes{255, 0, 0, 0, 255, 0, 0, 0, 255, 255, 255, 255, 0, 0, 0, 255, 0, 0};
                EXPECT_EQ(image->pixels, expected);
            }
    EXPECT_TRUE(LoadDIBImage(Write(Bitmap(8, true, false, true))));
    // Cut anywhere, or of absurd size, nothing is read.
    const Bytes whole = Bitmap(24, true, false);
    for (std::size_t size = 0; size < whole.size(); ++size)
        EXPECT_FALSE(LoadDIBImage(Write(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)))));
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
    const auto drawn = [&] {
        Recording recording;
        scene.Draw();
        EXPECT_EQ(recording.Violations(), Texts{});
        std::string text = std::to_string(recording.Count("glTexImage2D"));
        for (const Primitive& p : recording.Primitives()) text.append(p.state.texture > 0 ? " 1" : " 0");
        const auto& p = recording.Primitives();
        return text + (p.front().state.texture == p.back().state.texture ? " same" : " different");
    };
    const std::size_t strips = [&] {
        Recording recording;
        scene.Draw();
        return recording.Primitives().size();
    }();
    std::string with, without;
    for (std::size_t i = 0; i < strips; ++i) with += " 1", without += " 0";
    EXPECT_EQ(drawn(), "0" + with + " same") << "new parts share the default, which the first draw made";
    Name(a.instance, "KMStripes");
    EXPECT_EQ(drawn(), "1" + with + " different");
    EXPECT_EQ(drawn(), "0" + with + " different");
    Name(b.instance, "KMStripes");
    EXPECT_EQ(drawn(), "0" + with + " same");
    scene->ClearTextures(&error);
    EXPECT_EQ(error, 1);
    EXPECT_EQ(drawn(), "1" + with + " same");
    Name(a.instance, path);
    Name(b.instance, path);
    EXPECT_EQ(drawn(), "1" + with + " same");
    Name(a.instance, "kmdefault");
    Name(b.instance, "kmdefault");
    EXPECT_EQ(drawn(), "0" + without + " same");
}

}  // namespace
}  // namespace tessera::test
