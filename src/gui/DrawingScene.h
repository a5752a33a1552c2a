#pragma once
// What the drawing view paints: the entities of one space of a drawing turned into painter
// paths and texts once, blocks built once and shared by all their references, and a grid over
// the space's items so that a view of a small part of a big drawing touches only what it shows.

#include <QColor>
#include <QFont>
#include <QPainterPath>
#include <QRectF>
#include <QString>
#include <QTransform>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "cad/BlockRecord.h"
#include "cad/Tag.h"

class QPainter;

namespace cad {
class Database;
class Entity;
}  // namespace cad

namespace gui {

// The colour of ACI number `aci` (1..255) as CAD programs show it on a light background: 7 is
// black there. Out of range gives black.
QColor AciColor(int aci);

// The font of a text primitive's face (its pixel size is the layout's, not the text's).
QFont TextFaceFont(int face);

// One drawable piece: a path (lines, arcs, polylines, outlines), a text, or a block drawn through
// a transform.
struct Primitive {
    enum class Kind { Path, Filled, Text, Block };
    Kind kind = Kind::Path;
    QPainterPath path;      // Path, Filled
    QString text;           // Text: one string per line
    QTransform transform;   // Text: from the text's own frame (1 unit = its height); Block: block to parent
    std::uint32_t block = 0;  // Block: the block record's index
    int aci = 256;          // 0 BYBLOCK, 256 BYLAYER, else the colour number
    int layer = 0;          // index into the scene's layers
    int face = 0;           // Text: the font it is drawn in (0: the sans font standing in)
    QRectF bounds;          // in the coordinates of what holds it
};

// A top-level entity of the space: what it draws and where, by its handle.
struct SceneItem {
    cad::Handle handle = 0;
    std::string type;
    bool isReference = false;
    std::vector<Primitive> primitives;  // the entity, then a reference's attributes
    QRectF bounds;                      // world coordinates
};

struct SceneLayer {
    std::string name;
    int aci = 7;
    bool visible = true;  // neither off nor frozen
};

class DrawingScene {
public:
    // Builds the items of `space` (model space when null) of `db`; `db` must outlive the scene.
    explicit DrawingScene(cad::Database& db, cad::BlockRecord space = {});

    const std::vector<SceneItem>& Items() const { return items_; }
    const std::vector<SceneLayer>& Layers() const { return layers_; }
    // Shows or hides a layer by name; false when there is no such layer.
    bool SetLayerVisible(const std::string& name, bool visible);
    // The union of the items' bounds; empty for an empty space.
    QRectF Extents() const { return extents_; }

    // The items whose bounds meet `rect` (world), each once, in drawing order.
    std::vector<std::size_t> Query(const QRectF& rect) const;
    // The item under `point` within `tolerance` (world units): the smallest one whose bounds
    // hold the point; -1 when none.
    long Pick(QPointF point, double tolerance) const;
    // Window selection: items wholly inside `rect`; crossing selection: items meeting it.
    std::vector<std::size_t> SelectWindow(const QRectF& rect, bool crossing) const;
    // The item of `handle`; -1 when the space has none.
    long Find(cad::Handle handle) const;

    // Paints the items meeting `visible` (world) with `toDevice` as the world-to-device
    // transform; items smaller than `lodPixels` on the device are drawn as a filled box.
    // `selected` items are drawn highlighted. Returns the number of items painted.
    std::size_t Paint(QPainter& painter, const QTransform& toDevice, const QRectF& visible,
                      const std::vector<char>& selected, double lodPixels = 3.0) const;

private:
    struct BlockGeometry {
        std::vector<Primitive> primitives;
        QRectF bounds;
        bool built = false;
        bool building = false;
    };
    int LayerIndex(const std::string& name);
    // The face texts of the text style `styleName` are drawn in: the style's TrueType font when
    // the machine has it, a narrowed sans font for SHX fonts, else the sans font.
    int StyleFace(const std::string& styleName);
    // Appends what `entity` draws (in the coordinates of what holds it) to `out`.
    void AddEntity(const cad::Entity& entity, std::vector<Primitive>& out);
    void AddReference(const cad::Entity& entity, std::vector<Primitive>& out);
    // A multileader: its leader lines with their arrowheads and doglegs, then its text or its
    // block with the attribute values it keeps, from its context data.
    void AddMultiLeader(const cad::Entity& entity, std::vector<Primitive>& out);
    const BlockGeometry& Block(std::uint32_t index);
    void BuildIndex();
    void PaintPrimitives(QPainter& painter, const std::vector<Primitive>& primitives, const QTransform& toDevice,
                         const QColor& inherited, bool inBlock, const QColor* highlight, int depth) const;
    QColor Resolve(const Primitive& primitive, const QColor& inherited, bool inBlock) const;

    cad::Database& db_;
    std::vector<SceneItem> items_;
    std::vector<SceneLayer> layers_;
    std::map<std::string, int> layerIndex_;
    std::map<std::string, int> styleFaces_;
    std::map<std::uint32_t, BlockGeometry> blocks_;
    std::map<cad::Handle, std::size_t> byHandle_;
    QRectF extents_;
    // The grid: cells of items over the extents; items covering many cells stand apart.
    int columns_ = 0, rows_ = 0;
    double cellWidth_ = 1, cellHeight_ = 1;
    std::vector<std::vector<std::uint32_t>> cells_;
    std::vector<std::uint32_t> large_;
};

}  // namespace gui
