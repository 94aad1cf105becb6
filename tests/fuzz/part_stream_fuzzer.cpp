// The elements of a part, in a file that is right around them.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "whole_scene.h"

namespace {

// One instance of one part, a few normals, and the part up to its elements.
std::string Head() {
    std::string head("3DG00719\xcf\x02\x0b", 11);
    const auto put = [&](auto... values) { (head.append(reinterpret_cast<const char*>(&values), sizeof values), ...); };
    put(0, 0, 0, 0);  // three texts and a flag
    for (int i = 0; i < 32; ++i) put(i % 16 % 5 == 0 ? 1.0 : 0.0);
    put(1, '\x0c', '\x0d', 5);
    for (const float v : {1.0F, 0.0F, 0.0F, 0.0F, 1.0F, 0.0F, 0.0F, 0.0F, 1.0F, 0.0F, 0.0F, -1.0F, 0.6F, 0.8F, 0.0F})
        put(v);
    put('\x01', 1, 0);
    for (int i = 0; i < 13; ++i) put(0.5F);
    put(1, 1);
    return head;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string head = Head();
    std::vector<unsigned char> bytes(head.begin(), head.end());
    bytes.insert(bytes.end(), data, data + size);
    for (const unsigned char tag : {17, 2, 6}) bytes.push_back(tag);
    tessera::test::LoadAndUseAll(std::move(bytes));
    return 0;
}
