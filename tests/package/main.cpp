// A host in a few lines: builds a part of one triangle and asks for its name and box. Exits with 0 if both are right.
#include <tessera/tessera.h>

using namespace tessera;

int main() {
    ITessera* scene = nullptr;
    if (CreateTessera(&scene) < 0) return 1;
    int part = 0, instance = 0, err = 0;
    scene->CreatePart(&part);
    scene->CreatePartInstance(&instance);
    scene->SetPart(instance, part, &err);
    scene->SetParent(instance, 0, &err);

    float triangle[9] = {0, 0, 0, 3, 0, 0, 0, 4, 0};
    scene->BeginTriMesh(part, &err);
    scene->AddTriangle3P(part, triangle, &err);
    scene->EndTriMesh(part, &err);
    float low[3] = {}, high[3] = {};
    scene->GetBoundBox(instance, low, high, &err);

    const BSTR name = SysAllocString(u"bracket");
    BSTR copy = nullptr;
    scene->SetNodeName(instance, name, &err);
    scene->GetNodeName(instance, &copy, &err);
    const bool good = err == ErrDone && VarBstrCmp(name, copy, 0, 0) == VARCMP_EQ && high[0] == 3 && high[1] == 4;
    SysFreeString(copy);
    SysFreeString(name);
    return scene->Release() == 0 && good ? 0 : 2;
}
