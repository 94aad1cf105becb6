// The interface of the engine: one component that holds a tree of assemblies and part instances, and everything that a
// host can ask of it.
//
// Objects. An assembly holds nodes. A part instance places one part. A part holds geometry, its elements: meshes,
// polylines and point sets, with how they look; several instances may share one part, and what is set through one of
// them shows in all. "Node" means an assembly or a part instance. Everything is named by integer ids from one counter:
// the root assembly has 0, the first object created 1, and no id is used twice. Node and part ids are never equal.
// A part or node can be used by id only while it hangs in the tree under the root; just created, it is known to few
// methods, which say so.
//
// Calls. Most methods are of one of three kinds:
//   node call      takes any node's id, also the root's. No such node: errCode 0, STATUS_FAIL.
//   instance call  takes a part instance's id. No such node, or an assembly: errCode 0, STATUS_FAIL.
//   part call      takes a part's id. No such part: errCode 0, STATUS_FAIL. If the element that must be open is not
//                  (or one is, where nothing may be open): errCode -1, STATUS_FAIL.
// Done gives errCode 1 and STATUS_OK. A call that fails changes nothing. Methods that answer otherwise say so; note
// those that give status 0 whatever errCode says. A null where an array is to be read fails with errCode 0; a null
// where a result is to be written leaves that result out. A method for which memory runs out throws ComError where
// it creates, links, names, builds, imports or exports, and std::bad_alloc, of which that is a kind, elsewhere; what it
// was to do is then left out, in whole or from some point on, and the scene stays good for use. A mesh whose EndTriMesh
// throws is lost.
//
// Settings. Given to an assembly, a setting goes to every node, part or element below it at that moment, and an
// assembly keeps none of the parts' settings for later. Elements added to a part later start with the part's colours;
// meshes also with its shade modes, opacity, tolerance and threshold angle. All else they start with at its default, so
// set section, camera, visibility, printing and vertex array switches again once a part has new elements.
//
// Data. A point is 3 floats, a triangle 9, a colour channel a float from 0 to 1. Opacity goes from 0 to 1, and is what
// "transparency" means in names. A matrix is 16 doubles for row vectors: element 4 r + c is row r, column c, so that
//   x' = x m[0] + y m[4] + z m[8] + m[12]
// and so on; the translation stands in 12, 13, 14, elements 3, 7, 11 are 0 and 15 is 1. OpenGL takes the same order. A
// node's place in the world is its own matrix times its parent's, and so on up to the root's. Angles are degrees for
// surfaces and radians for rotations. A LONG that switches something is off at 0; a VARIANT_BOOL is true only at
// VARIANT_TRUE. A BSTR given in stays the caller's; one handed out is a copy that the caller frees with SysFreeString.
// File names are BSTRs too, read as UTF-8 by POSIX systems.
//
// OpenGL. The engine draws with OpenGL 1.1 into the context that is current, and owns no window. The host clears, sets
// camera, lights, light model and culling, and swaps. During a draw no buffer may be bound to GL_ARRAY_BUFFER, and the
// modelview stack must have room for the tree's depth. Transparent elements are blended without sorting. Afterwards the
// state is as before, except: GL_NORMALIZE enabled, glCullFace GL_BACK, matrix mode GL_MODELVIEW; front face, shade
// model and material as last used; polygon offset enabled after ShadeHiddenLine and ShadeSmoothEdges. Draws, and calls
// that prepare meshes for drawing (EndTriMesh, SetThresholdAngle, Import3DGPartElements), may leave the vertex and
// normal arrays enabled and pointing at the engine's memory: a host with arrays of its own brackets them with
// glPushClientAttrib.
//
// Threads. All calls to all components of a process come from one thread. A thread of the engine's own writes meshes to
// temporary files when memory runs short; they come back by themselves when they are next used.
#pragma once

#include "platform.h"

namespace tessera {

inline constexpr IID IID_ITessera = {0x2F5B7E14, 0x9C36, 0x4D0A, {0xB8, 0x2D, 0x61, 0xF3, 0x4A, 0x97, 0xC5, 0x08}};

// What errCode gets.
enum ErrCode {
    ErrDone = 1,
    ErrNotFound = 0,   // no node or part with that id, or nothing to do
    ErrState = -1,     // the object is in the wrong state, or a walk has ended
    ErrKind = -2,      // a part instance where an assembly is needed
    ErrSameNode = -3,  // son and parent are one
};

// How a mesh is drawn. Hard edges are those where two triangles meet above the threshold angle, open edges those with a
// triangle on one side only, silhouette edges those between a front and a back face.
enum ShadeMode {
    ShadeFlat = 0,              // triangles with one normal each
    ShadeSmooth = 1,            // strips with corner normals
    ShadeWire = 2,              // hard, open and silhouette edges, each kind in its colour
    ShadeWireAll = 3,           // all edges, in the external colour
    ShadeHiddenLine = 4,        // ShadeWire over a fill in the background colour
    ShadeVertexCloud = 5,       // vertices as points, thinned out above 2000
    ShadeSmoothEdges = 6,       // ShadeSmooth with hard and open edges in dark grey
    ShadeSection = 7,           // only the lines where the section plane cuts
    ShadeSilhouetteDashed = 8,  // hard, open and silhouette edges in dashed red, seen through everything
    ShadeStripPoints = 9,       // the corners of the strips as points
    ShadeHighlight = 10,        // strips in a yellow material, red where the external colour is yellow
    ShadeEnvMap = 11,           // ShadeSmooth with a reflection image, see SetEnvtexture
};

// What a draw takes as its mode.
enum DrawKind {
    DrawKindNormal = 0,     // in the shade mode
    DrawKindSimple = 1,     // in the simple shade mode
    DrawKindSection = 2,    // as ShadeSection
    DrawKindHighlight = 3,  // selected instances only, as ShadeHighlight
};

// How a stretch of a polyline is drawn; any other code is solid. Both gaps leave the stretch out.
enum StippleCode {
    StippleSolid = 0,
    StippleDotted = 1,
    StippleGap = 2,
    StippleLongDash = 11,
    StippleShortDash = 12,
    StippleDashDot = 13,
    StippleDashDotDot = 14,
    StippleGap2 = 15,
    StippleDense = 16,
};

// A font for SetNoteFont; no method reads it.
struct tagQNRLOGFONT {
    LONG lfHeight;
    LONG lfWidth;
    LONG lfEscapement;
    LONG lfOrientation;
    LONG lfWeight;
    unsigned char lfItalic;
    unsigned char lfUnderline;
    unsigned char lfStrikeOut;
    unsigned char lfCharSet;
    unsigned char lfOutPrecision;
    unsigned char lfClipPrecision;
    unsigned char lfQuality;
    unsigned char lfPitchAndFamily;
    char lfFaceName[32];
};

class ITessera : public IUnknown {
public:
    // ---- Creating and linking objects ----

    // Creates an assembly and gives its id. It has no parent yet: only SetParent and GetParent know the id until then.
    // One unlinked assembly is kept at a time: the next CreateAssembly deletes it.
    virtual HRESULT CreateAssembly(int* newID) = 0;

    // Creates a part and gives its id. Only SetPart knows the id until the part is linked to an instance in the tree,
    // so link it before filling it. One unlinked part is kept at a time: the next CreatePart deletes it.
    virtual HRESULT CreatePart(int* newID) = 0;

    // Creates a part instance with no part and no parent, and gives its id. Only SetPart, SetParent and GetParent know
    // the id until it has a parent. One unlinked instance is kept at a time: the next CreatePartInstance deletes it.
    virtual HRESULT CreatePartInstance(int* newID) = 0;

    // Links a part to a part instance: a part just created, or one that another instance in the tree has, to share it.
    // The part that the instance had is released, and deleted if no other instance has it.
    // errCode: 1; -1 no such instance, or the id of an assembly; 0 no such part.
    virtual HRESULT SetPart(int partInstanceID, int partID, int* errCode) = 0;

    // Puts a node under an assembly, taking it out of where it was. Assemblies go in front of their siblings, part
    // instances behind. The node is renamed if a sibling has its name (SetNodeName). Its matrices stay: its world place
    // follows the new parent. Moving a node under one of its own descendants is not refused and takes the subtree out
    // of the tree.
    // errCode: 1; -3 both ids are the same; 0 no such parent; -2 the parent is a part instance; -1 no such son, or the
    // root. Status 0 always.
    virtual HRESULT SetParent(int sonID, int parentID, int* errCode) = 0;

    // Deletes a node with its subtree, and with the last instance of a part the part. On the root: deletes everything
    // under it, resets its matrices and empties the table of shared normals; the root itself stays. Ids are not used
    // again.
    // errCode: 1; 0 no such node.
    virtual HRESULT Remove(int nodeID, int* errCode) = 0;

    // Gives the root's id, which is always 0. The root is an assembly named "/".
    virtual HRESULT GetIdRoot(int* idroot) = 0;

    // Gives the id of a node's parent; for the root and for a node without one -1, for an unknown id -2, both with
    // STATUS_FAIL.
    virtual HRESULT GetParent(int idNode, int* parentID) = 0;

    // Starts the walk over an assembly's children and gives the first: assemblies, the latest first, then part
    // instances, the oldest first. The position is kept in the assembly: two walks over one assembly disturb each
    // other, and so does giving a child a name or a parent. errCode: 1; 0 no such node; -2 a part instance; -1 no
    // children.
    virtual HRESULT GetFirstChild(int nodeID, int* childID, int* errCode) = 0;

    // Gives the next child of the walk that GetFirstChild started on this assembly.
    // errCode: 1; 0 no such node; -2 a part instance; -1 no more children.
    virtual HRESULT GetNextChild(int nodeID, int* childID, int* errCode) = 0;

    // ---- Building meshes ----
    // A mesh is built as loose triangles, all between one BeginTriMesh and its EndTriMesh; EndTriMesh joins them. A
    // part takes any number of meshes, polylines and point sets, one at a time.

    // Opens a new mesh in a part, with the part's colours, modes and point tolerance. Part call; nothing may be open.
    virtual HRESULT BeginTriMesh(int partID, int* errCode) = 0;

    // Adds a triangle to the open mesh. p: 9 floats, three points counter-clockwise seen from outside. The corner
    // normals are computed by EndTriMesh. Dropped without notice, errCode 1 all the same: a triangle with a coordinate
    // that is not finite or not below 1e20 in magnitude, and one with two equal corners. Part call; a mesh must be
    // open.
    virtual HRESULT AddTriangle3P(int partID, float* p, int* errCode) = 0;

    // Closes the open mesh: welds equal corners, links neighbours, turns each connected shell to one orientation (that
    // of its first triangle), computes the missing normals and tells smooth edges from hard ones by the part's
    // threshold angle. A mesh without triangles is thrown away. Part call; a mesh must be open.
    virtual HRESULT EndTriMesh(int partID, int* errCode) = 0;

    // ---- Drawing ----

    // Draws a node with its subtree. mode: a DrawKind. Opaque elements come first, then transparent ones; on the root,
    // then the vertices of parts whose options shade mode is 2. Selected instances are left out on the root unless mode
    // is DrawKindHighlight, which draws them alone: call Draw twice. On another node selected instances show in every
    // mode, and SetMirrorFlag of the assemblies above and below does not count. Node call.
    virtual HRESULT Draw(int nodeID, int mode, int* errCode) = 0;

    // ---- Building meshes, continued ----

    // Adds a triangle with corner normals. points, normals: 9 floats each. Where the normals speak against the winding,
    // the majority of the three decides: the odd one is turned round, or corners 1 and 2 change places. A normal that
    // is zero, not finite, or more than 45 degrees off the facet's makes all three be computed. Points are tested as in
    // AddTriangle3P. Part call; a mesh must be open.
    virtual HRESULT AddTriangle3P3N(int partID, float* points, float* normals, int* errCode) = 0;

    // Adds a triangle with corner normals and the facet's own normal. points, normals: 9 floats each; triNorm: 3
    // floats, which the winding and the corner normals are judged by. Coordinates are not tested here and the normals
    // are kept whatever their angle to the facet; only two equal corners drop it. Part call; a mesh must be open.
    virtual HRESULT AddTriangle3P4N(int partID, float* points, float* normals, float* triNorm, int* errCode) = 0;

    // ---- Building polylines ----

    // Opens a new polyline in a part, with the part's colours. Part call; nothing may be open.
    virtual HRESULT BeginPolyLine(int partID, int* errCode) = 0;

    // Adds a point behind the last. point: 3 floats. A point with a coordinate that is not finite, denormal or above
    // 1e25 in magnitude is dropped without notice. It gets the stipple code of the moment. Part call; a polyline must
    // be open.
    virtual HRESULT AddPolyLinePoint(int partID, float* point, int* errCode) = 0;

    // Closes the open polyline; one of fewer than two points is thrown away. Part call; a polyline must be open.
    virtual HRESULT EndPolyLine(int partID, int* errCode) = 0;

    // ---- Appearance ----
    // Colours are red, green, blue from 0 to 1. On an assembly they go to every part below. A part's colours show in
    // all its instances.

    // Sets the colour of front faces, of lines and of points. Defaults to 0, 0.85, 0.85. A channel below 0.2 is drawn
    // as 0.2. The parts' levels of detail take the colour too. Node call.
    virtual HRESULT SetExternalColor(int nodeID, float r, float g, float b, int* errCode) = 0;

    // Sets the colour of back faces, shown where the host has two-sided lighting on. Defaults to 0, 0.85, 0. A channel
    // below 0.2 is drawn as 0.2. Node call.
    virtual HRESULT SetInternalColor(int nodeID, float r, float g, float b, int* errCode) = 0;

    // Sets the fill of ShadeHiddenLine, as a rule the colour of the window. Defaults to 0.196, 0.196, 0.588. Node call.
    virtual HRESULT SetBackgroundColor(int nodeID, float r, float g, float b, int* errCode) = 0;

    // Sets the colour of open edges, those with a triangle on one side only. Defaults to 1, 1, 0. Node call.
    virtual HRESULT SetBorderColor(int nodeID, float r, float g, float b, int* errCode) = 0;

    // Sets the colour of hard edges. Defaults to 1, 1, 0. Node call.
    virtual HRESULT SetEdgeColor(int nodeID, float r, float g, float b, int* errCode) = 0;

    // Sets the distance per coordinate within which two corners are one, in model units. Defaults to 1e-9. Set it
    // before building: on a finished mesh only a larger value counts (by at least 1e-5), which welds further in
    // quadratic time and drops triangles that shrink to nothing. Node call.
    virtual HRESULT SetPointTolerance(int nodeID, float tolerance, int* errCode) = 0;

    // Sets the angle in degrees up to which neighbouring triangles shade smoothly, default 40. Computes again the
    // normals that were not given, the smooth edges and the strips of every mesh; a mesh that has once been spooled to
    // disk keeps its old angle. Node call.
    virtual HRESULT SetThresholdAngle(int nodeID, float tolerance, int* errCode) = 0;

    // Sets how meshes are drawn: a ShadeMode, ShadeSmooth by default; other values draw no surface. Node call.
    virtual HRESULT SetShadeMode(int nodeID, short qnrcode, int* errCode) = 0;

    // Sets what is drawn on top: 0 nothing, 1 the open edges in the border colour, 2 the vertices as points (in Draw,
    // DrawExplode and the LOD draws of the root). Defaults to 0. Node call.
    virtual HRESULT SetOptionsShadeMode(int nodeID, short qnrcode, int* errCode) = 0;

    // Tells the parts whether the host's projection is 0 perspective or 1 parallel, which decides the silhouette edges;
    // any other value finds none. Defaults to 0. Node call.
    virtual HRESULT SetViewingType(int nodeID, short qnrcode, int* errCode) = 0;

    // Tells the whole tree where the viewer stands and what point is looked at: 3 floats each, world frame. Silhouette
    // edges and levels of detail use it; it does not set OpenGL's camera. Call it before each draw from a new place.
    // errCode 1.
    virtual HRESULT SetCamera(float* camPoint, float* targetPoint, int* errCode) = 0;

    // ---- Measures ----

    // Gives the volume of all meshes below a node, by scanning columns of a grid in z; SetVolumePrecision sets the
    // grid. It does not depend on orientation, and columns that meet an open mesh an odd number of times count nothing.
    // Parts are measured in their own frame: the node's own matrix and those below it do not count, while the chain of
    // its ancestors scales the result by the cube of its scale along x. Kept by the part until its elements change.
    // Node call.
    virtual HRESULT GetVolume(int nodeID, double* volume, int* errCode) = 0;

    // Gives the summed area of all triangles below a node, in the parts' own frames: no matrix counts. Node call.
    virtual HRESULT GetSurfaceArea(int nodeID, double* area, int* errCode) = 0;

    // ---- Placement ----
    // Each of these multiplies onto the node's matrix from the right: it acts after what the matrix did before, along
    // the parent's axes and about the parent's origin. Angles are in radians, and a positive angle turns against the
    // right-hand rule: RotateZ by pi / 2 takes (1, 0, 0) to (0, -1, 0).

    // Turns a node about its parent's x axis. val: radians. Node call.
    virtual HRESULT RotateX(int nodeID, float val, int* errCode) = 0;

    // Turns a node about its parent's y axis. val: radians. Node call.
    virtual HRESULT RotateY(int nodeID, float val, int* errCode) = 0;

    // Turns a node about its parent's z axis. val: radians. Node call.
    virtual HRESULT RotateZ(int nodeID, float val, int* errCode) = 0;

    // Scales the geometry of all parts below a node about the parts' own origins. The matrices stay as they are: the
    // scale is baked into the points, cannot be read back, and shows in every instance of the part. A part with two
    // instances below the node is scaled twice. Node call.
    virtual HRESULT Scale(int nodeID, float sx, float sy, float sz, int* errCode) = 0;

    // Moves a node along its parent's axes. Node call.
    virtual HRESULT Translate(int nodeID, float tx, float ty, float tz, int* errCode) = 0;

    // Draws a node with its subtree displaced by the explode matrices, without levels of detail. mode: a DrawKind. On
    // the root selected instances are drawn too, in highlight, last and over a cleared depth buffer. A part instance as
    // nodeID draws nothing. From here on bound boxes, centres of mass, picks and ScanGraphicData use the displaced
    // places, until the next Draw. Node call.
    virtual HRESULT DrawExplode(int nodeID, int mode, int* errCode) = 0;

    // ---- Storage ----

    // Does nothing. Status 0.
    virtual HRESULT Save(IStorage* arch) = 0;

    // Does nothing. Status 0.
    virtual HRESULT Load(IUnknown* arch) = 0;

    // Gives 1 if the root has no children, else 0. Status 0.
    virtual HRESULT IsEmpty(LONG* retVal) = 0;

    // ---- Boxes, sections ----
    // A section plane is kept per part, in world coordinates, and cuts all instances of the part. What lies on the side
    // that the normal points to stays. To see a cut: SetCrossSectionPlane, EnableCrossSection 1 and
    // SwitchCrossSectionPlane 1; for a filled one EnableCrossSectionCapping 1 as well.

    // Gives the box of a node's subtree in the world frame. minPoint, maxPoint: 3 floats each. Subtrees with drawing
    // disabled and polylines made invisible are left out. A node with nothing in it gives minima 1e28 and maxima -1e28;
    // an assembly with no children or with drawing disabled gives -1 to 1 on each axis. Node call.
    virtual HRESULT GetBoundBox(int nodeID, float* minPoint, float* maxPoint, int* errCode) = 0;

    // Sets the section plane of all parts below a node. point, normal: 3 floats each, world frame; the normal is
    // made one unit long, and one shorter than 1e-6 gets x = 1. Switches stay as they are. Node call.
    virtual HRESULT SetCrossSectionPlane(int nodeID, float* point, float* normal, int* errCode) = 0;

    // Turns sectioning of a node's subtree on or off: section lines, clipping, picks on the section, and the section
    // length. status: 0 off, else on. On at first, except that capping waits for a call. Node call.
    virtual HRESULT EnableCrossSection(int nodeID, LONG status, int* errCode) = 0;

    // Lets DrawSimple draw a part instance's box with it, or not. status: 0 off (default), else on. On this node alone.
    // Node call.
    virtual HRESULT EnableDrawBoundBox(int nodeID, LONG status, int* errCode) = 0;

    // Names a node. If a sibling has the name already, the node gets "NAME (1)", or the next number that is free. Names
    // start as "No Name". "/" in a name is allowed, but hides the node from GetNodeIDFromPath. Node call.
    virtual HRESULT SetNodeName(int nodeID, BSTR name, int* errCode) = 0;

    // Gives a copy of a node's name. Node call.
    virtual HRESULT GetNodeName(int nodeID, BSTR* name, int* errCode) = 0;

    // Does nothing. Status 0.
    virtual HRESULT Import(IUnknown* arch) = 0;

    // Gives 0 for an assembly, 1 for a part instance. Node call.
    virtual HRESULT GetNodeType(int nodeID, int* nodeType, int* errCode) = 0;

    // ---- Picking ----
    // What lies under the cursor. pOfView: 3 floats, the eye in the world frame; of several hits the one nearest to it
    // wins, at equal distance the one earlier in the tree. vectView: 3 floats, the line of sight in the world frame,
    // any length. trans2Screen: 16 doubles that take a world point (x, y, z) to the screen, in this header's matrix
    // order with a division: with w = x m[3] + y m[7] + z m[11] + m[15], the screen x is (x m[0] + y m[4] + z m[8] +
    // m[12]) / w, the screen y (x m[1] + y m[5] + z m[9] + m[13]) / w. It is the product of OpenGL's modelview,
    // projection and viewport matrices, in that order. xScreen, yScreen: the cursor in the same units. diagonal: sets
    // the pick width, a hit must lie within 9 / diagonal screen units; with pixels as units and 5 pixels of width,
    // diagonal is 9 / 5.
    // Results: picked 1 for a hit, else 0; pPicked 3 floats, the place in the world frame; nodePicked the id of the
    // part instance. After a miss only picked counts; the other results may have been overwritten. errCode 1 and status
    // 0 in any case unless the method says more. Nodes with drawing disabled are not picked. What a mesh offers depends
    // on its shade mode. A clipped mesh or point set is not picked behind its section plane.

    // Picks the nearest vertex: any vertex of a surface mode, the ends of drawn edges in the other modes; also points
    // of polylines and point sets, and the ends of section lines.
    virtual HRESULT PickPoint(float* pOfView, double* trans2Screen, float xScreen, float yScreen, float diagonal,
                              LONG* picked, float* pPicked, int* nodePicked, int* errCode) = 0;

    // Draws a node with its subtree in the simple shade mode (SetSimpleShadeMode), for quick feedback, with the boxes
    // asked for by EnableDrawBoundBox, in the parts' external colour. The node stands where it
    // does in the world. Node call.
    virtual HRESULT DrawSimple(int nodeID, int* errCode) = 0;

    // Sets the ShadeMode that DrawSimple and DrawKindSimple use. Defaults to ShadeStripPoints. Node call.
    virtual HRESULT SetSimpleShadeMode(int nodeID, short qnrcode, int* errCode) = 0;

    // Gives the part's shade mode; 0 without a part. Instance call.
    virtual HRESULT GetShadeMode(int nodeID, short* qnrcode, int* errCode) = 0;

    // Does the same as SetPolyLineStipple.
    virtual HRESULT SetLineStipple(int partID, int code, int* errCode) = 0;

    // Sets the opacity of all parts below a node: 1 opaque, 0 invisible. Defaults to 0.99. At or above 0.95 an element
    // counts as opaque, at or below 0.005 it is not drawn. A level of 1.01 or more is dropped without notice; one below
    // 0 is kept as it is. Node call.
    virtual HRESULT SetTransparency(int nodeID, float level, int* errCode) = 0;

    // Gives a colour of the part as it was set. Without a part nothing is written. Instance call, as the four that
    // follow.
    virtual HRESULT GetExternalColor(int nodeID, float* red, float* green, float* blu, int* errCode) = 0;

    // Gives the colour of back faces.
    virtual HRESULT GetInternalColor(int nodeID, float* red, float* green, float* blu, int* errCode) = 0;

    // Gives the fill of ShadeHiddenLine.
    virtual HRESULT GetBackgroundColor(int nodeID, float* red, float* green, float* blu, int* errCode) = 0;

    // Gives the colour of open edges.
    virtual HRESULT GetBorderColor(int nodeID, float* red, float* green, float* blu, int* errCode) = 0;

    // Gives the colour of hard edges.
    virtual HRESULT GetEdgeColor(int nodeID, float* red, float* green, float* blu, int* errCode) = 0;

    // Gives the part's point tolerance; 0 without a part. Instance call.
    virtual HRESULT GetPointTolerance(int nodeID, float* pt, int* errCode) = 0;

    // Gives the part's threshold angle in degrees; 0 without a part. Instance call.
    virtual HRESULT GetThresholdAngle(int nodeID, float* pt, int* errCode) = 0;

    // Gives the part's opacity; 0.901 without a part. Instance call.
    virtual HRESULT GetTransparency(int nodeID, float* tl, int* errCode) = 0;

    // Picks the nearest edge of a mesh or segment of a polyline, hard, open and silhouette edges in most modes, every
    // edge in ShadeWireAll; also section lines. pPicked is where the edge comes closest to the line of sight through
    // pOfView.
    virtual HRESULT PickEdge(float* pOfView, float* vectView, double* trans2Screen, float xScreen, float yScreen,
                             float diagonal, LONG* picked, float* pPicked, int* nodePicked, int* errCode) = 0;

    // Picks the surface under the cursor, or an edge where the mode shows no surface; also polylines and points.
    // errCode is 0 if the pick failed inside.
    virtual HRESULT PickPartInstance(float* pOfView, float* vectView, double* trans2Screen, float xScreen,
                                     float yScreen, float diagonal, LONG* picked, float* pPicked, int* nodePicked,
                                     int* errCode) = 0;

    // Shows or hides a node's subtree: in draws, picks, bound boxes, section length and the exports other than
    // WriteTDPM. status: 0 off, else on (default). Volumes and areas count hidden nodes all the same. Node call.
    virtual HRESULT EnableDrawing(int nodeID, LONG status, int* errCode) = 0;

    // Gives the node's own flag, not its ancestors'. Node call.
    virtual HRESULT IsDrawingEnable(int nodeID, LONG* status, int* errCode) = 0;

    // Sets how fine GetVolume, GetCenterOfMass and GetProjectedSurfaceXY scan. 1 (default) is a cell of 0.00015 times
    // the part's diagonal in xy for a diagonal up to 50, and 0.15 above; a precision p up to 1 divides the cell by p,
    // one above 1 by 2 p. Time grows with the square. A change of less than 0.001 is dropped. Node call.
    virtual HRESULT SetVolumePrecision(int nodeID, float precision, int* errCode) = 0;

    // Gives the part's volume precision; 0 without a part. Instance call.
    virtual HRESULT GetVolumePrecision(int nodeID, float* precision, int* errCode) = 0;

    // Picks the nearest end of a line in which the section plane cuts a triangle, or the crossing of a polyline.
    // Sectioning must be on for the nodes on the way and clipping for the part.
    virtual HRESULT PickCrossSectionPoint(float* pOfView, float* vectView, double* trans2Screen, float xScreen,
                                          float yScreen, float diagonal, LONG* picked, float* pPicked, int* nodePicked,
                                          int* errCode) = 0;

    // Picks the nearest line in which the section plane cuts a triangle; pPicked lies under the cursor. Sectioning and
    // clipping must be on for the part.
    virtual HRESULT PickCrossSectionEdge(float* pOfView, float* vectView, double* trans2Screen, float xScreen,
                                         float yScreen, float diagonal, LONG* picked, float* pPicked, int* nodePicked,
                                         int* errCode) = 0;

    // ---- Names and marks ----

    // Finds a node by its path of node names, as GetFullNodeName writes it: "//ASSEMBLY/INSTANCE". "/" and "//" are the
    // root. Names are compared code unit by code unit; a "/" at the end finds nothing.
    // errCode: 1; 0 not found, nodeID -1. Status 0 always.
    virtual HRESULT GetNodeIDFromPath(BSTR nodePath, int* nodeID, int* errCode) = 0;

    // ---- Colours of the element being built ----
    // Each sets a colour of the mesh that is open, in the place of the part's. Part calls; a mesh must be open.

    // Sets the colour of front faces. A channel outside -0.0001 to 1.001 drops the call without notice. The first such
    // call on a part whose colours were never set makes it the part's colour too, which later elements start with.
    virtual HRESULT SetTriMeshExternalColor(int partID, float red, float green, float blue, int* errCode) = 0;

    // Sets the colour of back faces.
    virtual HRESULT SetTriMeshInternalColor(int partID, float red, float green, float blue, int* errCode) = 0;

    // Sets the colour of hard edges.
    virtual HRESULT SetTriMeshEdgeColor(int partID, float red, float green, float blue, int* errCode) = 0;

    // Sets the colour of open edges.
    virtual HRESULT SetTriMeshBorderColor(int partID, float red, float green, float blue, int* errCode) = 0;

    // ---- Selection, mirroring, view ----

    // Marks a node, and all below an assembly, as selected or not; Draw tells what that does. status: 0 or not 0. Node
    // call.
    virtual HRESULT SetSelected(int nodeID, LONG status, int* errCode) = 0;

    // Gives the value that was last set on the node itself. Node call.
    virtual HRESULT IsSelected(int nodeID, LONG* status, int* errCode) = 0;

    // Mirrors a node in its parent's xy plane: z changes sign. Turns the node's mirror flag over too. Node call.
    virtual HRESULT MirrorXY(int nodeID, int* errCode) = 0;

    // Mirrors a node in its parent's xz plane: y changes sign. Turns the node's mirror flag over too. Node call.
    virtual HRESULT MirrorXZ(int nodeID, int* errCode) = 0;

    // Mirrors a node in its parent's yz plane: x changes sign. Turns the node's mirror flag over too. Node call.
    virtual HRESULT MirrorYZ(int nodeID, int* errCode) = 0;

    // Tells the whole tree the factor that multiplies the camera distance where a level of detail is chosen. Set it
    // before the first DrawLOD. errCode 1.
    virtual HRESULT SetZoomFactor(float zoomFactor, int* errCode) = 0;

    // Stored with every element and read by nothing: the pick width comes from the diagonal of each pick. errCode 1.
    virtual HRESULT SetPickTolerance(float pickTol, int* errCode) = 0;

    // ---- User names, dates, searches ----

    // Gives a node, and all below an assembly, a name of the user's choice, without any test. Starts as "Unset". Node
    // call.
    virtual HRESULT SetUserName(int nodeID, BSTR name, int* errCode) = 0;

    // Gives a copy of the node's own user name. Node call.
    virtual HRESULT GetNodeUserName(int nodeID, BSTR* name, int* errCode) = 0;

    // Sets the date of a node, and of all below an assembly, to now. It starts as the time of creation. Node call.
    virtual HRESULT SetDateAsNow(int nodeID, int* errCode) = 0;

    // Gives the node's date in local time. Mind the fields: day is the day of the week from 0 for Sunday, month counts
    // from 0 for January, year from 1900; there is no day of the month. Node call.
    virtual HRESULT GetLastModifiedDate(int nodeID, int* sec, int* minutes, int* hour, int* day, int* month, int* year,
                                        int* errCode) = 0;

    // Finds the first node of that name, beginning with nodeIDIN itself and going depth first. nodeID: its id, or -1 if
    // there is none, with errCode 1 all the same. Node call.
    virtual HRESULT GetNodeIDFromName(int nodeIDIN, BSTR nodeName, int* nodeID, int* errCode) = 0;

    // Never finds a name: errCode -1 with status 0 for any node, errCode 0 with STATUS_FAIL for an unknown id. Use
    // GetNodeUserName instead.
    virtual HRESULT GetFirstUsername(int nodeID, BSTR* username, int* errCode) = 0;

    // Never finds a name: errCode -1, status 0.
    virtual HRESULT GetNextUsername(BSTR* username, int* errCode) = 0;

    // Gives the number of part instances below a node, those without a part included; 1 for an instance. Node call.
    virtual HRESULT GetNumberOfPartInstance(int nodeID, int* num, int* errCode) = 0;

    // ---- Picking features ----

    // Picks an edge as PickEdge does and grows it into the straight run that it belongs to. pStart, pEnd: 3 floats
    // each, the ends in the world frame, cut at the section plane. An edge of a faceted curve is no run and counts as a
    // miss, and so does a segment of a polyline that has a corner at both ends, and an edge behind a section line.
    virtual HRESULT PickSegment(float* pOfView, float* vectView, double* trans2Screen, float xScreen, float yScreen,
                                float diagonal, LONG* picked, float* pPicked, float* pStart, float* pEnd,
                                int* nodePicked, int* errCode) = 0;

    // Picks an edge as PickEdge does and grows it into the circular arc that it belongs to. center: 3 floats, world
    // frame. *pointsOfArc: a new block that the caller frees with CoTaskMemFree; float 0 is the number of points less
    // 0.2, so round it up to get n; floats 1 to 3 n are the points along the arc in the world frame. After a miss
    // nothing is allocated. Curves of the section are offered too.
    virtual HRESULT PickArc(float* pOfView, float* vectView, double* trans2Screen, float xScreen, float yScreen,
                            float diagonal, LONG* picked, float* pPicked, float* center, float** pointsOfArc,
                            int* nodePicked, int* errCode) = 0;

    // ---- Section plane, levels of detail ----

    // Draws a plane as a translucent grey square over an assembly, with the section lines of all parts below in red,
    // or over capped sections in the parts' own colours.
    // ptOfPlane, vectOfPlane: 3 floats each, a point and the normal, world frame; the lines are those of the parts' own
    // section planes. On a part instance it draws nothing. Node call.
    virtual HRESULT DrawClipPlane(int nodeID, float* ptOfPlane, float* vectOfPlane, int* errCode) = 0;

    // Turns clipping at the section plane on or off for all parts below a node. status: 0 off, else on. It reaches the
    // elements that are there; those added later start with clipping off. Node call.
    virtual HRESULT SwitchCrossSectionPlane(int nodeID, LONG status, int* errCode) = 0;

    // Draws like Draw, but parts with levels of detail may be drawn reduced, small and far ones first; a reduced part
    // is opaque, and shows no selection. acc is added to a running value: give a positive one while frames are too
    // slow, a negative one when they are fast again. Below 0.001 it counts only if the last frame reduced something.
    // The value stops at 220, where no part is drawn in full; ResetAcceleration begins again at 0. Tell SetCamera and
    // SetZoomFactor first. Node call.
    virtual HRESULT DrawLOD(int nodeID, int mode, float acc, int* errCode) = 0;

    // Makes two levels of detail for every part of the tree, by the decimator of SetDecimator, with 8 and 2 per cent of
    // the triangles of each colour. A part is reduced once in its life; imported levels make room for the new ones.
    // nodeID must exist but does not narrow the work, and the six numbers are not used; LODsAvailable is updated for
    // any id but the root's.
    // errCode: 1; 0 no decimator, or no such node. Status 0 always.
    virtual HRESULT ComputeLODs(int nodeID, int numOfLods, float angle, float initAngle, float stepAngle, float minPctg,
                                float maxPtcg, int* errCode) = 0;

    // Does nothing. Status 0. Hosts call it behind the last import of a file.
    virtual HRESULT EndTDGImport() = 0;

    // ---- Notes ----
    // The engine keeps no notes. These methods change nothing, write no result and give status 0.

    // Does nothing; neither result is written.
    virtual HRESULT GetFirstNoteID(int* noteID, int* errCode) = 0;

    // Does nothing; neither result is written.
    virtual HRESULT GetNextNoteID(int* noteID, int* errCode) = 0;

    // Does nothing; errCode is not written.
    virtual HRESULT DeleteNote(int noteID, int* errCode) = 0;

    // Writes 0 to picked and nothing else. Status 0.
    virtual HRESULT PickNote(float* pOfView, double* trans2Screen, float xScreen, float yScreen, float diagonal,
                             int resY, int intXScreen, int intYScreen, LONG* picked, float* pPicked, int* notePicked,
                             int* pickedCode, int* errCode) = 0;

    // ---- Visibility ----
    // Each flag is kept by the node, by the nodes below an assembly, and by the elements that their parts have at the
    // moment. As elements belong to the part, hiding them through one instance hides them in all. status: 0 off, else
    // on.

    // Shows or hides polylines, in draws and boxes. On by default. Node call.
    virtual HRESULT SwitchWireFrameVisibility(int nodeID, LONG status, int* errCode) = 0;

    // ---- Notes, continued ----

    // Does nothing; errCode is not written.
    virtual HRESULT SetNoteMessage(int noteID, BSTR msg, int* errCode) = 0;

    // Does nothing; errCode is not written.
    virtual HRESULT SetNoteText(int noteID, BSTR text, int* errCode) = 0;

    // Does nothing; errCode is not written.
    virtual HRESULT SetNoteURL(int noteID, BSTR url, int* errCode) = 0;

    // Does nothing; errCode is not written.
    virtual HRESULT SetNoteArrowPosition(int noteID, float* arrowCoord, int* errCode) = 0;

    // Does nothing; errCode is not written.
    virtual HRESULT SetNoteTextPosition(int noteID, float* txtCoord, int* errCode) = 0;

    // Does nothing; errCode is not written.
    virtual HRESULT SetNoteTextColor(int noteID, ULONG color, int* errCode) = 0;

    // Does nothing; errCode is not written.
    virtual HRESULT SetNoteFont(int noteID, tagQNRLOGFONT font, int* errCode) = 0;

    // ---- Visibility, state of the component ----

    // Shows or hides meshes, in draws and picks; they stay in the boxes. On by default. Node call.
    virtual HRESULT SwitchTriMeshVisibility(int nodeID, LONG status, int* errCode) = 0;

    // Deletes the whole tree but the root and begins the shared normals and the levels of detail anew. The root's
    // matrices return to identity. Ids go on, they are not used again. Status 0.
    virtual HRESULT ResetSceneGraph() = 0;

    // Writes the shown meshes and polylines as VRML 1.0, in world coordinates times 0.001 (metres for a model in
    // millimetres), without hierarchy. Point sets are left out, and explode matrices do not count. Status 0, also when
    // the file cannot be opened.
    virtual HRESULT WriteVRML(BSTR fname) = 0;

    // Gives the version of this interface, 8.
    virtual HRESULT GetVersion(int* versionNum) = 0;

    // Gives 1 if an import, or the last ComputeLODs with an id other than the root's, met levels of detail; else 0,
    // also after ResetSceneGraph. Status 0.
    virtual HRESULT LODsAvailable(LONG* value) = 0;

    // Makes the meshes that are there draw by vertex arrays (not 0) instead of one call a vertex (0, default). The
    // picture is the same, the speed is not. Status 0.
    virtual HRESULT UseVertexArray(LONG val) = 0;

    // Gives 0 or 1, as last set. Status 0.
    virtual HRESULT IsUsingVertexArray(LONG* val) = 0;

    // Does nothing; errCode is not written.
    virtual HRESULT EnableNoteCrossSection(int noteID, LONG status, int* errCode) = 0;

    // Gives the value that EnableCrossSection last set on the node; 1 at first. Node call.
    virtual HRESULT GetNodeCrossSectionStatus(int nodeID, LONG* status, int* errCode) = 0;

    // Gives the value that SwitchWireFrameVisibility last set on the node; 1 at first. Node call.
    virtual HRESULT GetNodeWireFrameVisibility(int nodeID, LONG* status, int* errCode) = 0;

    // Gives the value that SwitchTriMeshVisibility last set on the node; 1 at first. Node call.
    virtual HRESULT GetNodeSurfaceVisibility(int nodeID, LONG* status, int* errCode) = 0;

    // Marks the crossings of the section plane with green points when vertices are drawn, also where clipping is off,
    // and seen through the surface then. status: 0 off (default), else on. Reaches the elements that are there. Node
    // call.
    virtual HRESULT EnableTransparentXSection(int nodeID, LONG status, int* errCode) = 0;

    // Sets the colour of the open polyline. A channel outside -0.0001 to 1.001 drops the call without notice. Part
    // call; a polyline must be open.
    virtual HRESULT SetPolyLineColor(int partID, float red, float green, float blue, int* errCode) = 0;

    // Gives the part's options shade mode; 0 without a part. Instance call.
    virtual HRESULT GetOptionsShadeMode(int nodeID, int* mode, int* errCode) = 0;

    // Draws the vertices of meshes, polylines and point sets on top, in yellow, or not. status: 0 off (default), else
    // on. Reaches the elements that are there. Node call.
    virtual HRESULT SetVertexVisible(int nodeID, LONG status, int* errCode) = 0;

    // Gives the value that SetVertexVisible last set on the node; 0 at first. Node call.
    virtual HRESULT GetVertexVisibility(int nodeID, LONG* status, int* errCode) = 0;

    // Keeps a text of the host's with a node; WriteTDPM saves it. Empty at first. Not passed on to children. Node call.
    virtual HRESULT SetPropertyString(int nodeID, BSTR text, int* errCode) = 0;

    // Gives a copy of the node's property string. Node call.
    virtual HRESULT GetPropertyString(int nodeID, BSTR* text, int* errCode) = 0;

    // ---- Building point sets ----

    // Opens a new point set in a part, with the part's colours. Part call; nothing may be open.
    virtual HRESULT BeginPointSet(int partID, int* errCode) = 0;

    // Adds a point. point: 3 floats. A point with a coordinate that is not finite, denormal or above 1e25 in magnitude
    // is dropped without notice. Part call; a point set must be open.
    virtual HRESULT AddPointSetPoint(int partID, float* point, int* errCode) = 0;

    // Closes the open point set; one without points is thrown away. Part call; a point set must be open.
    virtual HRESULT EndPointSet(int partID, int* errCode) = 0;

    // Sets the colour of the open point set. Part call; with no point set open it does nothing and errCode is 1 all the
    // same.
    virtual HRESULT SetPointSetColor(int partID, float red, float green, float blue, int* errCode) = 0;

    // ---- Measures, continued ----

    // Gives the summed length of the lines in which the section plane cuts the meshes below a node, whether clipping is
    // switched on or not; 0 where sectioning is off. The plane is taken to be in the frame of the node's parent, since
    // the ancestors' matrices do not count, and lengths are in the parts' own units. Node call.
    virtual HRESULT GetCrossSectionLength(int nodeID, float* len, int* errCode) = 0;

    // Gives the volume's centroid in the world frame, the parts weighted by their unscaled volumes; scanned as
    // GetVolume does. A part instance without a part gives the origin; an assembly without volume has no centroid, and
    // the result is not to be used. Node call.
    virtual HRESULT GetCenterOfMass(int nodeID, float* centerX, float* centerY, float* centerZ, int* errCode) = 0;

    // Gives the id of the part that an instance has. errCode: 1; 0 no such instance, or one without a part, with
    // STATUS_FAIL. GetPartID differs in the second case.
    virtual HRESULT GetPartOfPInstance(int piID, int* partID, int* errCode) = 0;

    // Gives the area that the meshes below a node cover in the xy plane of each part's own frame, scanned on a grid of
    // 1000 by 1000 cells times the volume precision each way; what overlaps within a part counts once. Node call.
    virtual HRESULT GetProjectedSurfaceXY(int nodeID, float* surface, int* errCode) = 0;

    // Closes the cut of clipped solids with a flat face in the colour of the part's first mesh, or not. Needs
    // EnableCrossSection as well, and a stencil buffer of the host's, whose content is overwritten. A mesh must be
    // closed. status: 0 off (default), else on. Levels of detail are not capped. Node call.
    virtual HRESULT EnableCrossSectionCapping(int nodeID, LONG status, int* errCode) = 0;

    // Writes the shown meshes, polylines and point sets as VRML 2.0, for the rest as WriteVRML, with a viewpoint that
    // sees the whole scene and the root's user name as the author. Status 0, also when the file cannot be opened.
    virtual HRESULT WriteVRML_2(BSTR fname) = 0;

    // Multiplies a node's matrix by trasMat, 16 doubles, from the right. Node call.
    virtual HRESULT ApplyTransform(int nodeID, double* trasMat, int* errCode) = 0;

    // Draws lines in colours whose channels are all 0.99 or more in black, for white paper. printStatus: 0 off
    // (default), else on. Reaches the elements that are there. Node call.
    virtual HRESULT SetPrintingStatus(int nodeID, LONG printStatus, int* errCode) = 0;

    // Shows or hides point sets, in draws; picks still find them. On by default. Node call.
    virtual HRESULT SwitchPointSetVisibility(int nodeID, LONG status, int* errCode) = 0;

    // Gives the value that SwitchPointSetVisibility last set on the node; 1 at first. Node call.
    virtual HRESULT GetNodePointSetVisibility(int nodeID, LONG* status, int* errCode) = 0;

    // ---- Files and streams ----
    // All numbers are little-endian and packed without gaps: u8, u16, u32, f32 and f64, vec3 for three f32. A string is
    // a u32 number of bytes, then UTF-8 text (the system's narrow code page on Windows).

    // Writes the whole scene as a 3DG file of version 719, hidden nodes included. The host reads such a file by itself,
    // with ImportTriNormals and Import3DGPartElements for the geometry:
    //   "3DG00719", u16 719
    //   a record for each child of the root, then u8 13:
    //     assembly       u8 9, header, the records of its children, u8 10
    //     part instance  u8 11, header, u32 id of the part, u8 12; nothing at all without a part
    //     header         strings: name, user name, property string; u32 mirror flag; 16 f64 transform; 16 f64 identity
    //   the shared normals: u32 n, n vec3
    //   a record for each part that an instance has, once: u8 1, body, u8 2
    //     body           u32 id, string name, vec3 external, internal, border and edge colour, f32 opacity,
    //                    u32 clipping on, u32 capping on, then what Import3DGPartElements takes
    //   u8 6
    // Explode matrices, dates and background colours are not saved. errCode: 1; 0 the file cannot be opened. Status 0
    // always.
    virtual HRESULT WriteTDPM(BSTR filename, int* errCode) = 0;

    // Gives the section plane of the first part below a node. pt, normal: 3 floats each, world frame; (0, 0, 0) and (1,
    // 0, 0) if there is no part. Node call.
    virtual HRESULT GetCrossSectionPlane(int nodeID, float* pt, float* normal, int* errCode) = 0;

    // Writes the curves in which the section plane cuts the meshes as XML: a CrossSection element with one PolyLine for
    // each curve and one P for each point. No matrix counts: each part is cut and written in its own frame, once for
    // each instance, also one that is hidden by itself. A closed curve ends with its first point. Sectioning and
    // clipping must be on. errCode 1 in any case, also when the file cannot be written.
    virtual HRESULT SaveCrossSection(BSTR filename, int* errCode) = 0;

    // Appends the elements of a stream to a part. *dataStream is moved on to the byte behind them. The stream is
    // trusted: it must be whole, and its indices in range. Call SetTDGImportVer first, and ImportTriNormals for the
    // file's normals.
    // At version 719, any number of elements, each behind its tag, then any number of levels of detail, then u8 17:
    //   u8 3   mesh: vec3 external, vec3 internal colour, u32 n, n vec3 vertices, level records to be skipped, u8 15,
    //          u32 t, t triangles: 3 u32 normal indices (into the normals last imported) and 3 u32 vertex indices.
    //          A level record is one u8 that is not 15, u32, u32, u32 c, then 24 c bytes.
    //   u8 7   polyline: vec3 colour, u32 p, p times vec3 and u8 StippleCode
    //   u8 8   point set: vec3 colour, u32 p, p vec3
    //   u8 16  level of detail: blocks, then u8 19. A block is u8 18, f32 red, green, blue, opacity, u8 1 to draw by
    //          vertex array, u32 f, f f32 (normal and position of each strip vertex), u32 s, s u32 (strip lengths,
    //          closed by 0).
    // Older versions: below 719 a mesh has one colour; below 448 there is no tag 16 and no tag 17, the first other byte
    // ends the list and is left there; below 424 triangles carry 3 vec3 normals in place of the indices, and there are
    // no level records nor the u8 15; below 423 a tag takes 4 bytes, of which the first counts.
    // A triangle with an index beyond the vertices or normals that are there is left out. errCode: 1; 0 no such part;
    // -1 an element is open. The stream does not move in those two cases. Also -1 at a tag that opens nothing: the
    // stream stands on it then, and what came before it is in the part. Status 0 always.
    virtual HRESULT Import3DGPartElements(int partID, unsigned char** dataStream, int* errCode) = 0;

    // Tells which 3DG version the streams to come have, for all components of the process. 0, the oldest, at first.
    // Status 0.
    virtual HRESULT SetTDGImportVer(int tdgImpVer) = 0;

    // Names a part. If another part in the tree has the name already, or the name is "default", a number is added in
    // brackets; the numbers count for the whole process. Parts start as "No Name", which is not tested. errCode: 1; 0
    // no such part. Status 0 always.
    virtual HRESULT SetPartName(int partID, BSTR name, int* errCode) = 0;

    // Multiplies a node's explode matrix by trasMat, 16 doubles, from the right. Node call.
    virtual HRESULT ApplyExplodeTransform(int nodeID, double* trasMat, int* errCode) = 0;

    // Gives the names from the root down to the node, as "//ASSEMBLY/INSTANCE", where the first "/" is the root's name.
    // Node call.
    virtual HRESULT GetFullNodeName(int nodeID, BSTR* name, int* errCode) = 0;

    // Appends a block of normals, u32 n and n vec3, to the component's shared normals, each brought to length 1.
    // *dataStream is moved on to the byte behind it. The triangles of later imports index into this block, so import
    // the parts of one file before the normals of the next. errCode 1, status 0.
    virtual HRESULT ImportTriNormals(unsigned char** dataStream, int* errCode) = 0;

    // ---- Explode, levels of detail, scan ----
    // A node has a second matrix, the explode matrix. The explode draws place a node by the chain of all transforms,
    // then by the chain of all explode matrices: a displacement in the world frame that its descendants share.

    // Lets the parts below a node use their levels of detail in Draw too, with the running value at 1, or not.
    // accStatus: 0 or not 0. The LOD and explode draws set it anew and leave it off. Node call.
    virtual HRESULT SetUseDisplayAcc(int nodeID, LONG accStatus, int* errCode) = 0;

    // Moves a node's explode matrix, along the world's axes. Node call.
    virtual HRESULT TranslateExplode(int nodeID, float tx, float ty, float tz, int* errCode) = 0;

    // Does nothing: no node changes, and errCode is not written. Status 0. Use ApplyExplodeTransform.
    virtual HRESULT RotateExplode(int nodeID, float tx, float ty, float tz, float angle, int* errCode) = 0;

    // Replaces a node's explode matrix by trasMat, 16 doubles. Node call.
    virtual HRESULT SetExplodeTransform(int nodeID, double* trasMat, int* errCode) = 0;

    // Draws like DrawExplode, with levels of detail. acc is added as in DrawLOD, then its whole part chooses a preset
    // for the running value: 0 full detail, 1 to 4 more and more reduced (10, 110, 200, 220), 5 the coarsest level of
    // every part; any other number leaves the value alone. Node call.
    virtual HRESULT DrawLODExplode(int nodeID, int mode, float acc, int* errCode) = 0;

    // Sets the StippleCode that the points to come of the open polyline get; it applies to the stretch that ends at a
    // point. Part call; a polyline must be open.
    virtual HRESULT SetPolyLineStipple(int partID, int stipType, int* errCode) = 0;

    // Hands over the object that reduces meshes (IDecimator), asked for IID_IDecimator; the engine keeps a reference
    // until another comes or the component goes. It serves all components of the process. The status is that of the
    // query.
    virtual HRESULT SetDecimator(IUnknown* decimator) = 0;

    // Sets the running value of the LOD draws to 0. Status 0.
    virtual HRESULT ResetAcceleration() = 0;

    // Hands the shown geometry of the whole scene to a collector (IGraphicDataCollector): the strips of meshes and the
    // stretches of polylines, in world coordinates. nodeID must be the root's; any other id only tells whether the node
    // exists. mode is not used. The object stays the caller's. For each shown assembly the current OpenGL matrix stack
    // is popped once, so call it with nothing pushed that is still needed.
    // errCode: 1; 0 no such node; -1 the object has no IGraphicDataCollector. Status 0 always.
    virtual HRESULT ScanGraphicData(int nodeID, int mode, IUnknown* graphicDataPtr, int* errCode) = 0;

    // ---- Placement, continued ----

    // Says whether a node's matrix mirrors, which turns the front faces of all below it; two levels cancel. flag: 0 or
    // 1. MirrorXY, MirrorXZ and MirrorYZ keep it up to date, ApplyTransform and SetTransform do not. Node call.
    virtual HRESULT SetMirrorFlag(int nodeID, LONG flag, int* errCode) = 0;

    // Gives the box of a node's subtree in another frame: every point goes through the world matrix, then through
    // refereceMatrix, 16 doubles. For the rest as GetBoundBox. Node call.
    virtual HRESULT GetBoundBoxRelativeFrame(int nodeID, double* refereceMatrix, float* minPoint, float* maxPoint,
                                             int* errCode) = 0;

    // Gives a node's explode matrix. m: room for 16 doubles. The id is a node's in spite of its name. Node call.
    virtual HRESULT GetExplodeTransform(int partID, double* m, int* errCode) = 0;

    // Gives a node's matrix, its own without its ancestors'. m: room for 16 doubles. The id is a node's in spite of its
    // name. Node call.
    virtual HRESULT GetTransform(int partID, double* m, int* errCode) = 0;

    // Replaces a node's matrix by trasMat, 16 doubles. Picks and sections use its inverse, which is computed in single
    // precision here, in double precision by the other placement methods; ApplyTransform does as this one. Node call.
    virtual HRESULT SetTransform(int nodeID, double* trasMat, int* errCode) = 0;

    // ---- Textures, rays, triangles in bulk ----

    // Names the reflection image that ShadeEnvMap wraps around all parts below a node: "KMDefault" (default) or
    // "KMStripes", which are built in, or the path of an uncompressed Windows bitmap file. Loaded at the next draw. The
    // id is a node's in spite of its name. Node call.
    virtual HRESULT SetEnvtexture(int partID, BSTR texturefilename, int* errCode) = 0;

    // Picks as PickPartInstance and gives the surface's smoothed normal as well. normPicked: 3 floats of length 1,
    // world frame; not written where an edge or a point was hit. errCode: 1 for a hit; 0 for a miss or if the pick
    // failed inside.
    virtual HRESULT PickPartInstance2(float* pOfView, float* vectView, double* trans2Screen, float xScreen,
                                      float yScreen, float diagonal, LONG* picked, float* pPicked, float* normPicked,
                                      int* nodePicked, int* errCode) = 0;

    // Gives the first place where a ray meets a surface. pOfView, vectView: 3 floats each, origin and direction, world
    // frame. picked: VARIANT_TRUE or VARIANT_FALSE. pPicked, normPicked, nodePicked: as PickPartInstance2. Meshes in
    // modes that show no surface are passed through. errCode 1.
    virtual HRESULT IntersectRay(float* pOfView, float* vectView, VARIANT_BOOL* picked, float* pPicked,
                                 float* normPicked, int* nodePicked, int* errCode) = 0;

    // Adds NumTriangles triangles to the open mesh. VerticesCoordinates: three doubles a vertex; numVertices is the
    // number of these doubles, not of vertices, and values above the range of float are cut to it in the caller's
    // array. TriangleVetexIndexes: three vertex numbers a triangle. NormalsCoordinates, TriangleNormalsIndexes: the
    // same for corner normals, used if hasNormals is VARIANT_TRUE; those of a triangle are computed instead if one is
    // very short, not finite or more than 50 degrees off the facet's. The winding is kept as it is. The colour
    // arguments and numNormals are not read. Triangles are tested as in AddTriangle3P, and left out where a vertex
    // number is out of range. Without normals or their indexes hasNormals counts as false. Part call; a mesh must be
    // open.
    virtual HRESULT AddTriangles3P3N(int partID, double* VerticesCoordinates, ULONG numVertices,
                                     ULONG* TriangleVetexIndexes, double* NormalsCoordinates, ULONG numNormals,
                                     ULONG* TriangleNormalsIndexes, double* ColorsValues, ULONG numColors,
                                     ULONG* TriangleColorsIndexes, ULONG NumTriangles, VARIANT_BOOL hasNormals,
                                     int* errCode) = 0;

    // Gives the name that SetEnvtexture last set on the node itself; empty if none was. The id is a node's in spite of
    // its name. Node call.
    virtual HRESULT GetEnvtexture(int partID, BSTR* texturefilename, int* errCode) = 0;

    // Makes an explode displacement permanent. On a part instance the explode matrix goes into the node's matrix and
    // returns to identity; the instance stays where the explode draw showed it. On an assembly the matrices of all
    // instances below take it up, with their own, but only the named assembly's explode matrix returns to identity:
    // reset those below with SetExplodeTransform. Node call.
    virtual HRESULT ApplyExplodeToNodeMatrix(int nodeID, int* errCode) = 0;

    // Forgets which textures were loaded, without deleting them from OpenGL. Call it when the context has changed.
    // errCode 1.
    virtual HRESULT ClearTextures(int* errCode) = 0;

    // Draws every mesh of every component as ShadeHiddenLine, black on white, while flag is VARIANT_TRUE. errCode 1.
    virtual HRESULT ForceHiddenLineDrawing(VARIANT_BOOL flag, int* errCode) = 0;

    // ---- Later additions ----

    // Gives the id of the part that an instance has; 0 with errCode 1 if it has none. Instance call.
    virtual HRESULT GetPartID(int nodeID, int* ID, int* errCode) = 0;

    // Gives a copy of the name of the instance's part; empty without a part. Instance call.
    virtual HRESULT GetPartName(int nodeID, BSTR* name, int* errCode) = 0;

    // Writes the shown meshes and named views as a U3D file. pViews: numViews records of U3dView, passed as float*;
    // null if there are none. useCompression: VARIANT_TRUE lets a reader reduce the meshes, any other value keeps them
    // at full resolution. Polylines and point sets are left out. All faces of a part have the colour of its first
    // element. Status 0, also when the file cannot be written; a view that cannot be made throws IFXException, and then
    // nothing is written.
    virtual HRESULT ExportU3D(BSTR fname, float* pViews, ULONG numViews, VARIANT_BOOL useCompression) = 0;

protected:
    ~ITessera() = default;
};

// Makes a component with an empty tree and one reference; its last Release deletes it with everything in it.
// Without memory *component is null and the status STATUS_OUT_OF_MEMORY.
TESSERA_API HRESULT CreateTessera(ITessera** component);

}  // namespace tessera
