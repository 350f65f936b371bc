// Scenes as text: the language of tests, of bug reports and of looking at a scene.
#pragma once

#include "platform/sg/kxDataPumpInfo.h"
#include "platform/sg/kxNode.h"

#include <string>
#include <string_view>

namespace Kel::Sg
{

/// The text form of scenes. An example with most of it:
///
///     Group "root"(
///         Transform<1 2 3>(Geometry#g{tri}),
///         AttrSet!{Material#m red, TextureBind<"wood.png">[unit=1]}(Geometry#g, null),
///         Lod<0 10 100>[center=1,2,3](Geometry{cube, Material#m}, Group~))
///
/// An object is written as
///
///     Class #label marks "name" colour <main> [fields] {attributes} (children)
///
/// of which all but the class may be missing. Blanks and line breaks may stand between the parts, but not before the label.
///
/// - Class: the name of the class without its `kx`, an attribute's also without its `Attr`. Any registered class will do.
///   `null` is no object.
/// - #label: names an object that occurs several times. The first `Class#label` is written out, the later ones stand alone.
/// - marks: `!` locked, by a data pump; `~` dynamic and `^` animated, for nodes.
/// - colour: a word in place of a material's base colour or a light's colour (red, grey ...).
/// - <main>: what mostly says what the object is. A transform's matrix as `<x y z>`, `<scale s>`, `<x y z scale sx sy sz>` or
///   `<matrix` and 16 numbers row by row`>`; a level of detail's ranges; a switch's child; a morph instance's weights; the
///   images of a texture by their paths, and of the texture of a texture bind.
/// - [fields]: `field=value` for any other reflected field, by its name with or without the underscore. Numbers of a vector
///   are separated by commas, vectors of a list by semicolons; strings stand in quotes, lists of strings and of objects in
///   parentheses; objects are written as here; bytes as `x` and two digits each. A transform with one of its parts
///   (`translation`, `rotation`, `scale`) is one that has parts.
/// - {attributes}: the class's list of attributes, of lights, of vertex data.
/// - (children): the children of a group.
///
/// Vertex data are words: tri, quad, cube, points, lines, strip, skinned, morphed. Within one scene a word is one object;
/// `tri#2` is another one with the same data. An image that has nothing but a path is its path in quotes; a path is one
/// object too.
///
/// Elements of lists that hold no references (a skin's bones) are labels of objects that stand elsewhere in the text, in
/// front or behind; what stands nowhere else is printed as `null`.
///
/// What is too bulky for text is printed as a summary in angle brackets, `Geometry<24v 12t 5f0c...>` or
/// `pixels=<4096 bytes 5f0c...>`, which the parser refuses: such a scene is kept as a file.
class kxTextScene
{
public:
    enum Form
    {
        COMPACT, ///< one line, the shortest that gives the scene back
        TREE ///< a node on each line, for reading: long lists and strings are summed up, the parser does not take it
    };

    /// Reads a scene. False when the text is none: `fault` then is one line "LINE:COLUMN: what is wrong" and `root` stays as
    /// it was. A data pump for each locked object is added to `dataPumps`, in the order of the text; null leaves them out.
    /// Iterative, linear in the length of the text.
    static bool parse(std::string_view text, kxSmartPointer<kxNode>& root, kxDataPumpInfo* dataPumps,
                      std::string& fault);
    /// The same for an object of any class, such as an animation database.
    static bool parseObject(std::string_view text, kxSmartPointer<kxObject>& object, kxDataPumpInfo* dataPumps,
                            std::string& fault);

    /// The text of an object and all that it reaches; links back are not followed. Fields that hold what a fresh object has
    /// are left out, labels are numbered for each class in the order of the text, so equal scenes give equal texts. Objects
    /// that a pump of `dataPumps` drives are marked as locked. Iterative, linear in the number of references.
    static std::string print(const kxObject* object, const kxDataPumpInfo* dataPumps = nullptr, Form form = COMPACT);
};

} // namespace Kel::Sg
