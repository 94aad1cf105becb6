// Files that a scene is written to. Each is complete under its name, or what was there before is left.
#pragma once

#include <cstdint>

#include "platform/text.h"

namespace tessera {

class CNode;
class TriNormalTable;
struct U3dView;
enum class Vrml;

// False if the file could not be written.
bool WriteTDPMFile(const String& path, CNode& root, const TriNormalTable& normals);
void WriteVRMLFile(const String& path, CNode& root, Vrml version);
// Throws IFXException.
void ExportU3DFile(const String& path, CNode& root, const U3dView* views, std::uint32_t viewCount, bool compressed);
void SaveSectionFile(const String& path, CNode& root);

}  // namespace tessera
