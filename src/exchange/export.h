// Files that a scene is written to. Each is complete under its name, or what was there before is left.
#pragma once

#include "platform/text.h"

namespace tessera {

class CNode;
class TriNormalTable;
enum class Vrml;

// False if the file could not be written.
bool WriteTDPMFile(const String& path, CNode& root, const TriNormalTable& normals);
void WriteVRMLFile(const String& path, CNode& root, Vrml version);
void SaveSectionFile(const String& path, CNode& root);

}  // namespace tessera
