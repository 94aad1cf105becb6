// The elements of a part, in a file that is right around them.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "failure.h"
#include "tdpm_loader.h"
#include "whole_scene.h"

namespace {

// One instance of one part, a few normals, and the part up to its elements.
std::string Head() {
    std::string head("3DG00719\xcf\x02", 10);
    const auto put = [&](auto value) { head.append(reinterpret_cast<const char*>(&value), sizeof value); };
    put('\x0b');
    for (int texts = 0; texts < 3; ++texts) put(0);
    put(0);
    for (int matrices = 0; matrices < 2; ++matrices)
        for (int i = 0; i < 16; ++i) put(i % 5 == 0 ? 1.0 : 0.0);
    put(1), put('\x0c'), put('\x0d');
    constexpr float kNormals[][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, -1}, {0.6F, 0.8F, 0}};
    put(5), put(kNormals);
    put('\x01'), put(1), put(0);
    for (int i = 0; i < 13; ++i) put(0.5F);
    put(1), put(1);
    return head;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string head = Head();
    std::vector<unsigned char> bytes(head.begin(), head.end());
    bytes.insert(bytes.end(), data, data + size);
    for (const unsigned char tag : {17, 2, 6}) bytes.push_back(tag);
    try {
        const tessera::host::TdpmFile file("input", std::move(bytes));
        const tessera::host::Scene scene = tessera::host::CreateScene();
        tessera::host::LoadTdpm(*scene, file);
        tessera::test::UseAll(*scene);
    } catch (const tessera::host::Failure&) {
    }
    return 0;
}
