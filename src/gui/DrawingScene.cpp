#include "gui/DrawingScene.h"

#include <QFont>
#include <QList>
#include <QFontDatabase>
#include <QFontMetricsF>
#include <QHash>
#include <QPainter>
#include <QPen>
#include <QRegularExpression>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <cmath>
#include <numbers>

#include "attbat/export/TableTextExtents.h"
#include "base/Text.h"
#include "cad/BlockReference.h"
#include "cad/Curves.h"
#include "cad/Database.h"
#include "cad/Entity.h"
#include "cad/SymbolRecord.h"
#include "cad/Text.h"
#include "cad/geometry/Matrix3d.h"
#include "cad/geometry/MLeader.h"
#include "cad/geometry/PolylineShape.h"
#include "fonts/FontFile.h"

namespace gui {

namespace {

constexpr double kPi = std::numbers::pi;
// Texts are laid out in a font of this pixel size, whose capitals stand about 72 pixels high: the
// height a CAD text gives is that of its capitals.
constexpr double kFontPixels = 100;
constexpr double kCapPixels = 72;
// Nested blocks deeper than this are cut off: a block that holds itself (a broken file) must
// not hang the paint.
constexpr int kMaxDepth = 16;

// A font texts are drawn in, with the measures their layout needs. Faces are shared by every
// scene of the process: a drawing's styles name a handful of fonts.
struct TextFace {
    QFont font;
    double capPixels = kCapPixels;  // the height of the face's capitals at kFontPixels
    double xScale = 1;              // a stand-in's stretch to the advance of what it stands for
    std::vector<double> ascii;      // advances of the ASCII characters in cap heights
    QHash<char16_t, double> others;

    TextFace(const QFont& f, double cap, double stretch) : font(f), capPixels(cap), xScale(stretch) {
        font.setPixelSize(static_cast<int>(kFontPixels));
        const QFontMetricsF metrics(font);
        ascii.resize(128);
        for (int c = 0; c < 128; ++c) ascii[c] = metrics.horizontalAdvance(QChar(c)) / capPixels * xScale;
    }
    double Advance(QChar c) {
        const char16_t u = c.unicode();
        if (u < 128) return ascii[u];
        auto found = others.find(u);
        if (found == others.end())
            found = others.insert(u, QFontMetricsF(font).horizontalAdvance(c) / capPixels * xScale);
        return *found;
    }
};

std::vector<std::unique_ptr<TextFace>>& Faces() {
    static std::vector<std::unique_ptr<TextFace>> faces = [] {
        std::vector<std::unique_ptr<TextFace>> list;
        // Face 0: the sans font of texts whose font isn't on this machine.
        list.push_back(std::make_unique<TextFace>(QFont(QStringLiteral("DejaVu Sans")), kCapPixels, 1));
        return list;
    }();
    return faces;
}

// Face 1: the stand-in of SHX fonts, the sans font narrowed to the mean advance the fonts layer
// gives shape fonts (TableTextExtents::kStandInAdvance of the height).
int ShapeFontFace() {
    static const int index = [] {
        TextFace& sans = *Faces()[0];
        double sum = 0;
        int count = 0;
        for (int c = 33; c < 127; ++c, ++count) sum += sans.ascii[c];
        const double stretch = attbat::TableTextExtents::kStandInAdvance / (sum / count);
        Faces().push_back(std::make_unique<TextFace>(sans.font, kCapPixels, stretch));
        return static_cast<int>(Faces().size()) - 1;
    }();
    return index;
}

// The face of a TrueType or OpenType file, registered with the application once; face 0 when Qt
// can't load it.
int FileFace(const std::string& path) {
    static std::map<std::string, int> byFile;
    auto found = byFile.find(path);
    if (found != byFile.end()) return found->second;
    int index = 0;
    const int id = QFontDatabase::addApplicationFont(QString::fromStdString(path));
    const QStringList families = id < 0 ? QStringList() : QFontDatabase::applicationFontFamilies(id);
    if (!families.isEmpty()) {
        QFont font(families.front());
        // A family's files differ in weight and slant, which their names tell ("-SemiBoldItalic").
        const QString file = QString::fromStdString(std::filesystem::path(path).stem().string()).toLower();
        if (file.contains(QLatin1String("extrabold"))) font.setWeight(QFont::ExtraBold);
        else if (file.contains(QLatin1String("semibold"))) font.setWeight(QFont::DemiBold);
        else if (file.contains(QLatin1String("bold"))) font.setWeight(QFont::Bold);
        else if (file.contains(QLatin1String("light"))) font.setWeight(QFont::Light);
        if (file.contains(QLatin1String("italic")) || file.contains(QLatin1String("oblique"))) font.setItalic(true);
        font.setPixelSize(static_cast<int>(kFontPixels));
        const double cap = QFontMetricsF(font).capHeight();
        Faces().push_back(std::make_unique<TextFace>(font, cap > 1 ? cap : 0.7 * kFontPixels, 1));
        index = static_cast<int>(Faces().size()) - 1;
    }
    byFile.emplace(path, index);
    return index;
}

// The advance of a line of text in cap heights, from the advances of its characters: a big drawing
// has hundreds of thousands of attributes, and shaping each one to measure it would cost seconds.
// Kerning is left out, which CAD fonts mostly don't have anyway.
double TextWidth(const QString& line, int face) {
    TextFace& f = *Faces()[face];
    double width = 0;
    for (QChar c : line) width += f.Advance(c);
    return width;
}

QTransform ToQt(const cad::Matrix3d& m) {
    return QTransform(m.At(0, 0), m.At(1, 0), m.At(0, 1), m.At(1, 1), m.At(0, 3), m.At(1, 3));
}

// The plane of an entity with a normal (210) to the world's x-y plane.
QTransform Ocs(const cad::Object& entity) {
    if (!entity.Has(210)) return {};
    const cad::Point3 normal{entity.GetReal(210, 0), entity.GetReal(220, 0), entity.GetReal(230, 1)};
    if (normal.x == 0 && normal.y == 0 && normal.z > 0) return {};
    return ToQt(cad::ObjectToWorld(normal));
}

// Points of an arc, enough of them that a full circle looks round at any zoom a user works at.
void AddArcPoints(QPainterPath& path, QPointF center, double radius, double start, double sweep, bool first) {
    const int steps = std::max(4, static_cast<int>(std::ceil(std::abs(sweep) / (2 * kPi) * 96)));
    for (int i = 0; i <= steps; ++i) {
        const double t = start + sweep * i / steps;
        const QPointF p(center.x() + radius * std::cos(t), center.y() + radius * std::sin(t));
        if (i == 0 && first) path.moveTo(p);
        else path.lineTo(p);
    }
}

QPointF Xy(const cad::Object& e, int code) { return {e.GetReal(code, 0), e.GetReal(code + 10, 0)}; }

// The control codes of a single-line text drawn as the characters they stand for.
QString ShownText(const std::string& raw) {
    QString text = QString::fromStdString(raw);
    if (raw.find("%%") == std::string::npos) return text;
    text.replace(QStringLiteral("%%d"), QStringLiteral("\u00B0"), Qt::CaseInsensitive);
    text.replace(QStringLiteral("%%p"), QStringLiteral("\u00B1"), Qt::CaseInsensitive);
    text.replace(QStringLiteral("%%c"), QStringLiteral("\u2205"), Qt::CaseInsensitive);
    text.replace(QStringLiteral("%%u"), QString(), Qt::CaseInsensitive);
    text.replace(QStringLiteral("%%o"), QString(), Qt::CaseInsensitive);
    text.replace(QStringLiteral("%%%"), QStringLiteral("%"));
    return text;
}

// A multi-line text's contents without its formatting codes; paragraphs on lines of their own.
QString PlainMText(const std::string& contents) {
    QString text = QString::fromStdString(contents);
    text.replace(QStringLiteral("\\P"), QStringLiteral("\n"));
    text.replace(QStringLiteral("\\~"), QStringLiteral(" "));
    static const QRegularExpression stacked(QStringLiteral("\\\\S([^;^/#]*)[\\^/#]([^;]*);"));
    text.replace(stacked, QStringLiteral("\\1/\\2"));
    static const QRegularExpression codes(QStringLiteral("\\\\[ACFfHQTWpc][^;]*;"));
    text.replace(codes, QString());
    static const QRegularExpression toggles(QStringLiteral("\\\\[LlOoKkNn]"));
    text.replace(toggles, QString());
    text.replace(QStringLiteral("\\{"), QStringLiteral("\x01"));
    text.replace(QStringLiteral("\\}"), QStringLiteral("\x02"));
    text.remove(QLatin1Char('{'));
    text.remove(QLatin1Char('}'));
    text.replace(QStringLiteral("\x01"), QStringLiteral("{"));
    text.replace(QStringLiteral("\x02"), QStringLiteral("}"));
    text.replace(QStringLiteral("\\\\"), QStringLiteral("\\"));
    return ShownText(text.toStdString());
}

// The boundary paths of a HATCH, each closed, into `path`: polyline paths with their bulges, and
// edge paths of lines, circular and elliptic arcs. False when there is none, or an edge of a kind
// read here (a spline) makes the boundaries unknown.
bool HatchBoundaries(const cad::TagList& tags, QPainterPath& path) {
    std::size_t i = 0;
    const std::size_t n = tags.size();
    auto real = [&](std::size_t at) { return at < n ? std::strtod(tags[at].value.c_str(), nullptr) : 0.0; };
    auto integer = [&](std::size_t at) { return at < n ? std::atoi(tags[at].value.c_str()) : 0; };
    // The value of the next `code` from i on, stepping past it; NaN when the data ends first.
    auto next = [&](int code) {
        while (i < n && tags[i].code != code) ++i;
        return i < n ? real(i++) : std::nan("");
    };
    while (i < n && tags[i].code != 91) ++i;
    if (i >= n) return false;
    const int paths = integer(i++);
    for (int p = 0; p < paths; ++p) {
        while (i < n && tags[i].code != 92) ++i;
        if (i >= n) return false;
        const int flags = integer(i++);
        if (flags & 2) {
            const bool bulges = integer(i) != 0 && tags[i].code == 72;
            while (i < n && tags[i].code != 93) ++i;
            const int count = i < n ? integer(i++) : 0;
            std::vector<cad::PolylinePoint> points;
            for (int v = 0; v < count && i < n; ++v) {
                cad::PolylinePoint point;
                point.x = next(10);
                point.y = next(20);
                if (bulges && i < n && tags[i].code == 42) point.bulge = real(i++);
                points.push_back(point);
            }
            if (points.empty()) continue;
            path.moveTo(points[0].x, points[0].y);
            for (std::size_t k = 0; k < points.size(); ++k) {
                const cad::PolylinePoint& a = points[k];
                const cad::PolylinePoint& b = points[(k + 1) % points.size()];
                cad::BulgeArc arc;
                if (a.bulge != 0 && cad::ArcOfBulge({a.x, a.y, 0}, {b.x, b.y, 0}, a.bulge, arc))
                    AddArcPoints(path, QPointF(arc.center.x, arc.center.y), arc.radius, arc.startAngle, arc.sweep, false);
                else
                    path.lineTo(b.x, b.y);
            }
            path.closeSubpath();
            continue;
        }
        while (i < n && tags[i].code != 93) ++i;
        const int edges = i < n ? integer(i++) : 0;
        bool first = true;
        for (int e = 0; e < edges; ++e) {
            while (i < n && tags[i].code != 72) ++i;
            if (i >= n) return false;
            const int kind = integer(i++);
            if (kind == 1) {
                const QPointF a(next(10), next(20)), b(next(11), next(21));
                if (first) path.moveTo(a);
                else path.lineTo(a);
                path.lineTo(b);
            } else if (kind == 2 || kind == 3) {
                const QPointF c(next(10), next(20));
                QPointF major(0, 0);
                double ratio = 1, radius = 0;
                if (kind == 2) {
                    radius = next(40);
                } else {
                    major = QPointF(next(11), next(21));
                    ratio = next(40);
                }
                double start = next(50) * kPi / 180, end = next(51) * kPi / 180;
                const bool ccw = i < n && tags[i].code == 73 ? integer(i++) != 0 : true;
                // A clockwise arc keeps its angles as seen from below.
                if (!ccw) {
                    start = -start;
                    end = -end;
                }
                double sweep = end - start;
                if (ccw) while (sweep <= 0) sweep += 2 * kPi;
                else while (sweep >= 0) sweep -= 2 * kPi;
                const int steps = std::max(4, static_cast<int>(std::abs(sweep) / (2 * kPi) * 96));
                const QPointF u = kind == 2 ? QPointF(radius, 0) : major;
                const QPointF v = kind == 2 ? QPointF(0, radius) : QPointF(-major.y(), major.x()) * ratio;
                for (int k = 0; k <= steps; ++k) {
                    const double t = start + sweep * k / steps;
                    const QPointF at = c + u * std::cos(t) + v * std::sin(t);
                    if (k == 0 && first) path.moveTo(at);
                    else path.lineTo(at);
                }
            } else {
                return false;
            }
            first = false;
        }
        path.closeSubpath();
    }
    return !path.isEmpty();
}

// A text primitive: `lines` laid out from the text's own origin, one height apart and 1.667
// heights between baselines, anchored as `horizontal` (0 left, 1 centre, 2 right) and
// `vertical` (0 baseline, 1 bottom, 2 middle, 3 top) say.
Primitive MakeText(const QString& lines, QPointF at, double height, double rotation, double widthFactor,
                   int horizontal, int vertical, const QTransform& toParent, int face) {
    Primitive p;
    p.kind = Primitive::Kind::Text;
    p.face = face;
    p.text = lines;
    const QStringList list = lines.split(QLatin1Char('\n'));
    double width = 0;
    for (const QString& line : list) width = std::max(width, TextWidth(line, face));
    const double spacing = 5.0 / 3.0;
    const double depth = (list.size() - 1) * spacing;
    double dx = horizontal == 1 ? -width / 2 : horizontal == 2 ? -width : 0;
    // The block of lines runs from the capitals of the first (1) to the last baseline (-depth).
    double dy = 0;
    if (vertical == 3) dy = -1;
    else if (vertical == 2) dy = (depth - 1) / 2;
    else if (vertical == 1) dy = depth;
    QTransform frame;
    frame.translate(dx, dy);
    const QTransform place = QTransform().scale(height * (widthFactor > 0 ? widthFactor : 1), height) *
                             QTransform().rotateRadians(rotation) * QTransform::fromTranslate(at.x(), at.y());
    p.transform = frame * place * toParent;
    p.bounds = p.transform.mapRect(QRectF(0, -depth - 0.3, std::max(width, 0.1), depth + 1.3));
    return p;
}

}  // namespace

QFont TextFaceFont(int face) {
    return face >= 0 && face < static_cast<int>(Faces().size()) ? Faces()[face]->font : Faces()[0]->font;
}

QColor AciColor(int aci) {
    static const QColor fixed[] = {QColor(0, 0, 0),       QColor(255, 0, 0),     QColor(255, 255, 0),
                                   QColor(0, 255, 0),     QColor(0, 255, 255),   QColor(0, 0, 255),
                                   QColor(255, 0, 255),   QColor(0, 0, 0),       QColor(128, 128, 128),
                                   QColor(192, 192, 192)};
    if (aci < 1 || aci > 255) return Qt::black;
    if (aci < 10) {
        // Yellow and the light colours would vanish on white; they are drawn a little darker.
        if (aci == 2) return QColor(200, 180, 0);
        if (aci == 4) return QColor(0, 170, 170);
        if (aci == 3) return QColor(0, 170, 0);
        return fixed[aci];
    }
    if (aci >= 250) {
        static const int greys[] = {51, 91, 132, 173, 214, 255};
        const int g = std::min(greys[aci - 250], 200);
        return QColor(g, g, g);
    }
    const int hue = ((aci - 10) / 10) * 15;
    const int shade = aci % 10;
    static const double values[] = {1.0, 1.0, 0.8, 0.8, 0.6, 0.6, 0.5, 0.5, 0.3, 0.3};
    const double saturation = shade % 2 == 0 ? 1.0 : 0.5;
    return QColor::fromHsvF(hue / 360.0, saturation, values[shade] * 0.85);
}

DrawingScene::DrawingScene(cad::Database& db, cad::BlockRecord space) : db_(db) {
    for (const cad::SymbolRecord& record : db.TableRecords("LAYER")) {
        const cad::Layer layer = db.FindLayer(record.Name());
        const int index = LayerIndex(record.Name());
        layers_[index].aci = std::abs(layer.Color());
        layers_[index].visible = !layer.IsOff() && !layer.IsFrozen();
    }
    if (!space) space = db.ModelSpace();
    for (const cad::Entity& entity : space.Entities()) {
        if (!entity.IsVisible()) continue;
        SceneItem item;
        item.handle = entity.GetHandle();
        item.type = entity.Type();
        item.isReference = item.type == "INSERT" || item.type == "MINSERT";
        AddEntity(entity, item.primitives);
        if (item.primitives.empty()) continue;
        for (const Primitive& p : item.primitives) item.bounds = item.bounds.isNull() ? p.bounds : item.bounds.united(p.bounds);
        if (!item.bounds.isValid() && item.bounds.isNull()) continue;
        byHandle_[item.handle] = items_.size();
        extents_ = extents_.isNull() ? item.bounds : extents_.united(item.bounds);
        items_.push_back(std::move(item));
    }
    BuildIndex();
}

int DrawingScene::StyleFace(const std::string& styleName) {
    const std::string key = base::ToUpper(styleName.empty() ? std::string("STANDARD") : styleName);
    auto found = styleFaces_.find(key);
    if (found != styleFaces_.end()) return found->second;
    int face = 0;
    const cad::SymbolRecord style = db_.FindRecord("STYLE", styleName.empty() ? std::string("Standard") : styleName);
    if (style) {
        // The style's font file (3), else the family AutoCAD keeps in the style's extended data.
        std::string name = style.GetText(3);
        if (name.empty())
            for (const cad::Tag& tag : style.Xdata("ACAD"))
                if (tag.code == 1000 && !tag.value.empty()) {
                    name = tag.value;
                    break;
                }
        const std::string extension = base::ToLower(std::filesystem::path(name).extension().string());
        if (!name.empty() && (extension.empty() || extension == ".shx")) {
            face = ShapeFontFace();
        } else if (!name.empty()) {
            const std::string file = fonts::FindFontFile(name);
            // A stand-in fontconfig chose is no better than our own sans font.
            if (!file.empty() && fonts::FontFileMatches(name, file)) face = FileFace(file);
        }
    }
    styleFaces_.emplace(key, face);
    return face;
}

int DrawingScene::LayerIndex(const std::string& name) {
    auto found = layerIndex_.find(name);
    if (found != layerIndex_.end()) return found->second;
    const int index = static_cast<int>(layers_.size());
    layers_.push_back({name, 7, true});
    layerIndex_[name] = index;
    return index;
}

bool DrawingScene::SetLayerVisible(const std::string& name, bool visible) {
    auto found = layerIndex_.find(name);
    if (found == layerIndex_.end()) return false;
    layers_[found->second].visible = visible;
    return true;
}

void DrawingScene::AddEntity(const cad::Entity& entity, std::vector<Primitive>& out) {
    const std::string type = entity.Type();
    Primitive p;
    p.aci = entity.Color();
    p.layer = LayerIndex(entity.LayerName());
    auto addPath = [&](const QPainterPath& path, const QTransform& xf, bool filled = false) {
        p.kind = filled ? Primitive::Kind::Filled : Primitive::Kind::Path;
        p.path = xf.isIdentity() ? path : xf.map(path);
        p.bounds = p.path.boundingRect();
        if (p.bounds.width() == 0 && p.bounds.height() == 0) p.bounds.setSize(QSizeF(1e-9, 1e-9));
        out.push_back(p);
    };
    if (type == "LINE") {
        QPainterPath path(Xy(entity, 10));
        path.lineTo(Xy(entity, 11));
        addPath(path, {});
    } else if (type == "CIRCLE" || type == "ARC") {
        const double r = entity.GetReal(40, 0);
        if (r <= 0) return;
        double start = 0, sweep = 2 * kPi;
        if (type == "ARC") {
            start = entity.GetReal(50, 0) * kPi / 180;
            double end = entity.GetReal(51, 360) * kPi / 180;
            while (end <= start) end += 2 * kPi;
            sweep = end - start;
        }
        QPainterPath path;
        AddArcPoints(path, Xy(entity, 10), r, start, sweep, true);
        addPath(path, Ocs(entity));
    } else if (type == "ELLIPSE") {
        const QPointF c = Xy(entity, 10);
        const QPointF major = Xy(entity, 11);
        const double ratio = entity.GetReal(40, 1);
        const double flip = entity.GetReal(230, 1) < 0 ? -1 : 1;
        const QPointF minor(-major.y() * ratio * flip, major.x() * ratio * flip);
        double t0 = entity.GetReal(41, 0), t1 = entity.GetReal(42, 2 * kPi);
        while (t1 <= t0) t1 += 2 * kPi;
        const int steps = std::max(8, static_cast<int>((t1 - t0) / (2 * kPi) * 96));
        QPainterPath path;
        for (int i = 0; i <= steps; ++i) {
            const double t = t0 + (t1 - t0) * i / steps;
            const QPointF pt = c + major * std::cos(t) + minor * std::sin(t);
            if (i == 0) path.moveTo(pt);
            else path.lineTo(pt);
        }
        addPath(path, {});
    } else if (type == "LWPOLYLINE" || type == "POLYLINE") {
        std::vector<cad::PolylinePoint> points;
        bool closed = false;
        QTransform xf;
        if (type == "LWPOLYLINE") {
            const cad::LwPolyline poly(entity.GetDatabase(), entity.Index());
            points = poly.Points();
            closed = poly.IsClosed();
            xf = Ocs(entity);
        } else {
            const cad::Polyline poly(entity.GetDatabase(), entity.Index());
            const int flags = static_cast<int>(entity.GetInt(70, 0));
            if (flags & (16 | 64)) return;  // meshes and face sets: no outline to draw here
            for (const cad::Vertex& v : poly.Vertices()) {
                if (v.Flags() & 16) continue;  // spline frame points
                const cad::Point3 at = v.Location();
                points.push_back({at.x, at.y, v.Bulge()});
            }
            closed = poly.IsClosed();
            if (!(flags & 8)) xf = Ocs(entity);
        }
        if (points.empty()) return;
        QPainterPath path(QPointF(points[0].x, points[0].y));
        const std::size_t n = points.size();
        const std::size_t segments = closed ? n : n - 1;
        for (std::size_t i = 0; i < segments; ++i) {
            const cad::PolylinePoint& a = points[i];
            const cad::PolylinePoint& b = points[(i + 1) % n];
            cad::BulgeArc arc;
            if (a.bulge != 0 && cad::ArcOfBulge({a.x, a.y, 0}, {b.x, b.y, 0}, a.bulge, arc)) {
                AddArcPoints(path, QPointF(arc.center.x, arc.center.y), arc.radius, arc.startAngle, arc.sweep, false);
            } else {
                path.lineTo(b.x, b.y);
            }
        }
        const double width = entity.GetReal(43, 0);
        const bool wide = width > 0 || std::any_of(points.begin(), points.end(),
                                                   [](const auto& q) { return q.startWidth > 0 || q.endWidth > 0; });
        if (wide) {
            // A polyline with widths is drawn as the band it covers.
            double w = width;
            for (const auto& q : points) w = std::max({w, q.startWidth, q.endWidth});
            QPainterPathStroker stroker;
            stroker.setWidth(w);
            stroker.setCapStyle(Qt::FlatCap);
            stroker.setJoinStyle(Qt::MiterJoin);
            addPath(stroker.createStroke(path), xf, true);
        } else {
            addPath(path, xf);
        }
    } else if (type == "SPLINE") {
        // The fit points where the file has them, else the control polygon's points.
        std::vector<QPointF> pts;
        const int code = entity.Has(11) ? 11 : 10;
        const cad::TagList tags = entity.Tags();
        for (std::size_t i = 0; i + 1 < tags.size(); ++i) {
            if (tags[i].code == code && tags[i + 1].code == code + 10) {
                pts.emplace_back(std::stod(tags[i].value), std::stod(tags[i + 1].value));
            }
        }
        if (pts.size() < 2) return;
        QPainterPath path(pts[0]);
        if (code == 10 && pts.size() > 2) {
            // A quadratic smoothing through the midpoints of the control polygon.
            path.lineTo((pts[0] + pts[1]) / 2);
            for (std::size_t i = 1; i + 1 < pts.size(); ++i) path.quadTo(pts[i], (pts[i] + pts[i + 1]) / 2);
            path.lineTo(pts.back());
        } else {
            for (std::size_t i = 1; i < pts.size(); ++i) path.lineTo(pts[i]);
        }
        addPath(path, {});
    } else if (type == "SOLID" || type == "TRACE" || type == "3DFACE") {
        QPolygonF poly;
        if (type == "3DFACE") poly << Xy(entity, 10) << Xy(entity, 11) << Xy(entity, 12) << Xy(entity, 13);
        else poly << Xy(entity, 10) << Xy(entity, 11) << Xy(entity, 13) << Xy(entity, 12);
        QPainterPath path;
        path.addPolygon(poly);
        path.closeSubpath();
        addPath(path, type == "3DFACE" ? QTransform() : Ocs(entity), type != "3DFACE");
    } else if (type == "HATCH") {
        QPainterPath path;
        if (!HatchBoundaries(entity.Tags(), path)) return;
        // A solid fill is filled; a pattern shows its boundaries, the pattern's lines left out.
        addPath(path, Ocs(entity), entity.GetInt(70, 0) == 1);
    } else if (type == "POINT") {
        const QPointF at = Xy(entity, 10);
        QPainterPath path(at);
        path.lineTo(at + QPointF(1e-6, 0));
        addPath(path, {});
    } else if (type == "TEXT" || type == "ATTRIB" || type == "ATTDEF") {
        if (type == "ATTDEF") return;  // definitions show in the block editor, not in references
        if (type == "ATTRIB" && (entity.GetInt(70, 0) & 1)) return;
        QString text;
        if (type == "ATTRIB") {
            const cad::Attribute attribute(entity.GetDatabase(), entity.Index());
            text = attribute.IsMTextAttribute() ? PlainMText(attribute.MTextContents()) : ShownText(entity.GetText(1));
        } else {
            text = ShownText(entity.GetText(1));
        }
        if (text.isEmpty()) return;
        const double height = entity.GetReal(40, 1);
        int h = static_cast<int>(entity.GetInt(72, 0));
        int vertical = static_cast<int>(entity.GetInt(type == "ATTRIB" ? 74 : 73, 0));
        QPointF at = Xy(entity, 10);
        if (h != 0 || vertical != 0) {
            if (entity.Has(11)) at = Xy(entity, 11);
            if (h == 4) {  // "middle" is centred both ways
                h = 1;
                vertical = 2;
            }
            if (h == 3 || h == 5) h = 0;  // aligned and fit start at the first point
        }
        const double rotation = entity.GetReal(50, 0) * kPi / 180;
        out.push_back(MakeText(text, at, height, rotation, entity.GetReal(41, 1), h, vertical, Ocs(entity),
                               StyleFace(entity.GetText(7))));
        out.back().aci = p.aci;
        out.back().layer = p.layer;
    } else if (type == "MTEXT") {
        std::string contents;
        const cad::TagList tags = entity.Tags();
        for (const cad::Tag& tag : tags) if (tag.code == 3) contents += tag.value;
        contents += entity.GetText(1);
        const QString text = PlainMText(contents);
        if (text.trimmed().isEmpty()) return;
        double rotation = entity.GetReal(50, 0);
        if (entity.Has(11)) rotation = std::atan2(entity.GetReal(21, 0), entity.GetReal(11, 1));
        const int attach = static_cast<int>(entity.GetInt(71, 1));
        const int h = (attach - 1) % 3;
        const int v = attach <= 3 ? 3 : attach <= 6 ? 2 : 1;
        out.push_back(MakeText(text, Xy(entity, 10), entity.GetReal(40, 1), rotation, 1, h, v, {}, StyleFace(entity.GetText(7))));
        out.back().aci = p.aci;
        out.back().layer = p.layer;
    } else if (type == "INSERT" || type == "MINSERT") {
        AddReference(entity, out);
    } else if (type == "MULTILEADER") {
        AddMultiLeader(entity, out);
    } else if (type == "DIMENSION") {
        // A dimension is drawn by its anonymous block, already in world coordinates.
        const cad::BlockRecord block = db_.FindBlock(entity.GetText(2));
        if (!block) return;
        const BlockGeometry& geometry = Block(block.Index());
        if (geometry.bounds.isNull()) return;
        p.kind = Primitive::Kind::Block;
        p.block = block.Index();
        p.bounds = geometry.bounds;
        out.push_back(p);
    }
}

void DrawingScene::AddReference(const cad::Entity& entity, std::vector<Primitive>& out) {
    const cad::BlockReference reference(entity.GetDatabase(), entity.Index());
    const cad::BlockRecord block = reference.Block();
    Primitive p;
    p.aci = entity.Color();
    p.layer = LayerIndex(entity.LayerName());
    if (block && !block.IsExternalReference()) {
        const BlockGeometry& geometry = Block(block.Index());
        if (!geometry.bounds.isNull()) {
            p.kind = Primitive::Kind::Block;
            p.block = block.Index();
            p.transform = ToQt(cad::BlockTransform(reference));
            p.bounds = p.transform.mapRect(geometry.bounds);
            out.push_back(p);
        }
    }
    for (const cad::Attribute& attribute : reference.Attributes()) {
        if (attribute.IsVisible()) AddEntity(attribute, out);
    }
}

void DrawingScene::AddMultiLeader(const cad::Entity& entity, std::vector<Primitive>& out) {
    Primitive p;
    p.aci = entity.Color();
    p.layer = LayerIndex(entity.LayerName());
    // The leaders and the content's placement are in the context data; the leader lines' type
    // and the arrowhead follow it.
    struct Leader {
        std::vector<std::vector<QPointF>> lines;
        QPointF landing;
        bool hasLanding = false;
        QPointF dogleg;
        double doglegLength = 0;
    };
    std::vector<Leader> leaders;
    double scale = 1, textHeight = 1, arrowSize = -1, textRotation = 0;
    int attachment = 1;
    std::string contents;
    cad::Handle textStyle = 0;
    QPointF textAt;
    int level = 0;  // 0 entity, 1 context, 2 leader, 3 leader line
    bool seenScale = false, seenLanding = false;
    int lineType = 1;
    bool doglegEnabled = true;
    double entityArrowSize = -1;
    cad::Handle arrowBlock = 0;
    const cad::TagList tags = entity.Tags();
    for (std::size_t i = 0; i < tags.size(); ++i) {
        const cad::Tag& tag = tags[i];
        const double next = i + 1 < tags.size() ? tags[i + 1].Real() : 0;
        if (tag.code == 300 && tag.value == "CONTEXT_DATA{") { level = 1; continue; }
        if (tag.code == 302 && tag.value == "LEADER{") {
            level = 2;
            leaders.emplace_back();
            seenLanding = false;
            continue;
        }
        if (level == 2 && tag.code == 304 && tag.value == "LEADER_LINE{") {
            level = 3;
            leaders.back().lines.emplace_back();
            continue;
        }
        if (tag.code == 305 && level == 3) { level = 2; continue; }
        if (tag.code == 303 && level == 2) { level = 1; continue; }
        if (tag.code == 301 && level == 1) { level = 0; continue; }
        switch (level) {
        case 3:
            if (tag.code == 10) leaders.back().lines.back().emplace_back(tag.Real(), next);
            break;
        case 2:
            if (tag.code == 10 && !seenLanding) {
                leaders.back().landing = QPointF(tag.Real(), next);
                leaders.back().hasLanding = seenLanding = true;
            }
            if (tag.code == 11) leaders.back().dogleg = QPointF(tag.Real(), next);
            if (tag.code == 40) leaders.back().doglegLength = tag.Real();
            break;
        case 1:
            if (tag.code == 40 && !seenScale) { scale = tag.Real(); seenScale = true; }
            if (tag.code == 41) textHeight = tag.Real();
            if (tag.code == 140) arrowSize = tag.Real();
            if (tag.code == 304) contents = tag.value;
            if (tag.code == 340) textStyle = std::strtoull(tag.value.c_str(), nullptr, 16);
            if (tag.code == 12) textAt = QPointF(tag.Real(), next);
            if (tag.code == 42) textRotation = tag.Real();
            if (tag.code == 171) attachment = static_cast<int>(tag.Real());
            break;
        default:
            if (tag.code == 170) lineType = static_cast<int>(tag.Real());
            if (tag.code == 291) doglegEnabled = tag.Real() != 0;
            if (tag.code == 42) entityArrowSize = tag.Real();
            if (tag.code == 342) arrowBlock = std::strtoull(tag.value.c_str(), nullptr, 16);
            break;
        }
    }
    if (arrowSize < 0) arrowSize = entityArrowSize >= 0 ? entityArrowSize * scale : 0;

    // The leaders: each line from its arrowhead's tip through its vertices to the landing, then
    // the dogleg along the content.
    for (const Leader& leader : leaders) {
        for (const std::vector<QPointF>& line : leader.lines) {
            if (lineType == 0 || line.empty()) continue;
            QPainterPath path(line.front());
            for (std::size_t k = 1; k < line.size(); ++k) path.lineTo(line[k]);
            if (leader.hasLanding) path.lineTo(leader.landing);
            p.kind = Primitive::Kind::Path;
            p.path = path;
            p.bounds = path.boundingRect();
            out.push_back(p);
            // The arrowhead: a closed filled one, unless a block stands for it (drawn by that
            // block at the tip, pointing back along the line).
            const QPointF from = line.size() > 1 ? line[1] : leader.hasLanding ? leader.landing : line.front();
            const QPointF d = line.front() - from;
            const double length = std::hypot(d.x(), d.y());
            if (arrowSize <= 0 || length <= 0) continue;
            const double angle = std::atan2(d.y(), d.x());
            const QTransform place = QTransform().scale(arrowSize, arrowSize) * QTransform().rotateRadians(angle) *
                                     QTransform::fromTranslate(line.front().x(), line.front().y());
            const cad::Object arrow = arrowBlock ? db_.ObjectByHandle(arrowBlock) : cad::Object();
            const cad::BlockRecord arrowRecord =
                arrow && arrow.Type() == "BLOCK_RECORD" ? db_.FindBlock(arrow.GetText(2)) : cad::BlockRecord();
            if (arrowRecord) {
                // An empty block draws no arrowhead at all.
                if (Block(arrowRecord.Index()).bounds.isNull()) continue;
                Primitive head = p;
                head.kind = Primitive::Kind::Block;
                head.block = arrowRecord.Index();
                head.transform = place;
                head.bounds = place.mapRect(Block(arrowRecord.Index()).bounds);
                out.push_back(head);
            } else {
                QPainterPath head;
                head.moveTo(0, 0);
                head.lineTo(-1, 1.0 / 6);
                head.lineTo(-1, -1.0 / 6);
                head.closeSubpath();
                p.kind = Primitive::Kind::Filled;
                p.path = place.map(head);
                p.bounds = p.path.boundingRect();
                out.push_back(p);
            }
        }
        if (doglegEnabled && leader.hasLanding && leader.doglegLength > 0) {
            QPainterPath path(leader.landing);
            path.lineTo(leader.landing + leader.dogleg * leader.doglegLength);
            p.kind = Primitive::Kind::Path;
            p.path = path;
            p.bounds = path.boundingRect();
            out.push_back(p);
        }
    }

    const cad::MLeader leader(entity.GetDatabase(), entity.Index());
    const cad::MLeaderContentKind content = leader.ContentType();
    if (content == cad::MLeaderContentKind::MText && !contents.empty()) {
        const QString text = PlainMText(contents);
        if (!text.trimmed().isEmpty()) {
            std::string styleName;
            if (textStyle)
                if (const cad::Object style = db_.ObjectByHandle(textStyle); style && style.Type() == "STYLE")
                    styleName = style.GetText(2);
            const int a = attachment >= 1 && attachment <= 9 ? attachment : 1;
            out.push_back(MakeText(text, textAt, textHeight, textRotation, 1, (a - 1) % 3, a <= 3 ? 3 : a <= 6 ? 2 : 1,
                                   {}, StyleFace(styleName)));
            out.back().aci = p.aci;
            out.back().layer = p.layer;
        }
    } else if (content == cad::MLeaderContentKind::Block) {
        const cad::BlockRecord block = leader.BlockContent();
        if (!block || Block(block.Index()).bounds.isNull()) return;
        const cad::Point3 at = leader.BlockPosition();
        const cad::Point3 factors = leader.BlockScale();
        const QTransform place = QTransform().scale(factors.x, factors.y) *
                                 QTransform().rotateRadians(leader.BlockRotation()) *
                                 QTransform::fromTranslate(at.x, at.y);
        Primitive content = p;
        content.kind = Primitive::Kind::Block;
        content.block = block.Index();
        content.transform = place;
        content.bounds = place.mapRect(Block(block.Index()).bounds);
        out.push_back(content);
        // The attribute values the multileader keeps, where their definitions stand in the block.
        const cad::Point3 base = block.BasePoint();
        const QTransform toWorld = QTransform::fromTranslate(-base.x, -base.y) * place;
        for (const cad::MLeader::AttributeValue& value : leader.BlockAttributeValues()) {
            const cad::Object definition = db_.ObjectByHandle(value.definition);
            if (!definition || definition.Type() != "ATTDEF" || value.value.empty()) continue;
            if (definition.GetInt(70, 0) & 1) continue;  // invisible
            int h = static_cast<int>(definition.GetInt(72, 0));
            int v = static_cast<int>(definition.GetInt(74, 0));
            QPointF where = Xy(definition, 10);
            if ((h != 0 || v != 0) && definition.Has(11)) where = Xy(definition, 11);
            if (h == 4) h = 1, v = 2;
            if (h == 3 || h == 5) h = 0;
            out.push_back(MakeText(ShownText(value.value), where, definition.GetReal(40, 1),
                                   definition.GetReal(50, 0) * kPi / 180, definition.GetReal(41, 1), h, v, toWorld,
                                   StyleFace(definition.GetText(7))));
            out.back().aci = p.aci;
            out.back().layer = p.layer;
        }
    }
}

const DrawingScene::BlockGeometry& DrawingScene::Block(std::uint32_t index) {
    BlockGeometry& geometry = blocks_[index];
    if (geometry.built || geometry.building) return geometry;
    geometry.building = true;
    const cad::BlockRecord block(&db_, index);
    std::vector<Primitive> primitives;
    for (const cad::Entity& entity : block.Entities()) {
        if (entity.IsVisible()) AddEntity(entity, primitives);
    }
    // The base point is where the block's origin lies; references place it.
    const cad::Point3 base = block.BasePoint();
    QRectF bounds;
    const QTransform shift = QTransform::fromTranslate(-base.x, -base.y);
    for (Primitive& p : primitives) {
        if (base.x != 0 || base.y != 0) {
            if (p.kind == Primitive::Kind::Path || p.kind == Primitive::Kind::Filled) p.path = shift.map(p.path);
            else p.transform = p.transform * shift;
            p.bounds = shift.mapRect(p.bounds);
        }
        bounds = bounds.isNull() ? p.bounds : bounds.united(p.bounds);
    }
    BlockGeometry& stored = blocks_[index];  // the map may have grown meanwhile; nodes stay put
    stored.primitives = std::move(primitives);
    stored.bounds = bounds;
    stored.built = true;
    stored.building = false;
    return stored;
}

void DrawingScene::BuildIndex() {
    cells_.clear();
    large_.clear();
    if (items_.empty()) return;
    const int side = std::clamp(static_cast<int>(std::sqrt(static_cast<double>(items_.size()))), 1, 512);
    columns_ = rows_ = side;
    cellWidth_ = std::max(extents_.width() / columns_, 1e-9);
    cellHeight_ = std::max(extents_.height() / rows_, 1e-9);
    cells_.assign(static_cast<std::size_t>(columns_) * rows_, {});
    for (std::uint32_t i = 0; i < items_.size(); ++i) {
        const QRectF& b = items_[i].bounds;
        const int c0 = std::clamp(static_cast<int>((b.left() - extents_.left()) / cellWidth_), 0, columns_ - 1);
        const int c1 = std::clamp(static_cast<int>((b.right() - extents_.left()) / cellWidth_), 0, columns_ - 1);
        const int r0 = std::clamp(static_cast<int>((b.top() - extents_.top()) / cellHeight_), 0, rows_ - 1);
        const int r1 = std::clamp(static_cast<int>((b.bottom() - extents_.top()) / cellHeight_), 0, rows_ - 1);
        if ((c1 - c0 + 1) * (r1 - r0 + 1) > 64) {
            large_.push_back(i);
            continue;
        }
        for (int r = r0; r <= r1; ++r)
            for (int c = c0; c <= c1; ++c) cells_[static_cast<std::size_t>(r) * columns_ + c].push_back(i);
    }
}

std::vector<std::size_t> DrawingScene::Query(const QRectF& rect) const {
    std::vector<std::size_t> found;
    if (items_.empty()) return found;
    const QRectF r = rect.normalized();
    std::vector<char> seen(items_.size(), 0);
    // Compared by hand: Qt's rectangles of no width or height (a horizontal line's) meet nothing.
    auto take = [&](std::uint32_t i) {
        if (seen[i]) return;
        seen[i] = 1;
        const QRectF& b = items_[i].bounds;
        if (b.right() >= r.left() && b.left() <= r.right() && b.bottom() >= r.top() && b.top() <= r.bottom())
            found.push_back(i);
    };
    for (std::uint32_t i : large_) take(i);
    const int c0 = std::clamp(static_cast<int>(std::floor((r.left() - extents_.left()) / cellWidth_)), 0, columns_ - 1);
    const int c1 = std::clamp(static_cast<int>(std::floor((r.right() - extents_.left()) / cellWidth_)), 0, columns_ - 1);
    const int r0 = std::clamp(static_cast<int>(std::floor((r.top() - extents_.top()) / cellHeight_)), 0, rows_ - 1);
    const int r1 = std::clamp(static_cast<int>(std::floor((r.bottom() - extents_.top()) / cellHeight_)), 0, rows_ - 1);
    if (r.right() >= extents_.left() && r.left() <= extents_.right() && r.bottom() >= extents_.top() &&
        r.top() <= extents_.bottom()) {
        for (int row = r0; row <= r1; ++row)
            for (int c = c0; c <= c1; ++c)
                for (std::uint32_t i : cells_[static_cast<std::size_t>(row) * columns_ + c]) take(i);
    }
    std::sort(found.begin(), found.end());
    return found;
}

long DrawingScene::Pick(QPointF point, double tolerance) const {
    const QRectF box(point.x() - tolerance, point.y() - tolerance, 2 * tolerance, 2 * tolerance);
    long best = -1;
    double bestArea = 0;
    for (std::size_t i : Query(box)) {
        const QRectF& b = items_[i].bounds;
        const double area = b.width() * b.height();
        if (best < 0 || area < bestArea) {
            best = static_cast<long>(i);
            bestArea = area;
        }
    }
    return best;
}

std::vector<std::size_t> DrawingScene::SelectWindow(const QRectF& rect, bool crossing) const {
    const QRectF r = rect.normalized();
    std::vector<std::size_t> chosen;
    for (std::size_t i : Query(r)) {
        const QRectF& b = items_[i].bounds;
        const bool inside = b.left() >= r.left() && b.right() <= r.right() && b.top() >= r.top() && b.bottom() <= r.bottom();
        if (crossing || inside) chosen.push_back(i);
    }
    return chosen;
}

long DrawingScene::Find(cad::Handle handle) const {
    auto found = byHandle_.find(handle);
    return found == byHandle_.end() ? -1 : static_cast<long>(found->second);
}

QColor DrawingScene::Resolve(const Primitive& primitive, const QColor& inherited, bool inBlock) const {
    if (primitive.aci == 0) return inherited;
    if (primitive.aci == 256 || primitive.aci == 257) {
        const SceneLayer& layer = layers_[primitive.layer];
        // Inside a block layer "0" takes the reference's colour, as the CAD host draws it.
        if (inBlock && layer.name == "0") return inherited;
        return AciColor(layer.aci);
    }
    return AciColor(primitive.aci);
}

void DrawingScene::PaintPrimitives(QPainter& painter, const std::vector<Primitive>& primitives,
                                   const QTransform& toDevice, const QColor& inherited, bool inBlock,
                                   const QColor* highlight, int depth) const {
    for (const Primitive& p : primitives) {
        const SceneLayer& layer = layers_[p.layer];
        if (!layer.visible && !(inBlock && layer.name == "0")) continue;
        const QColor color = highlight ? *highlight : Resolve(p, inherited, inBlock);
        switch (p.kind) {
        case Primitive::Kind::Path:
            painter.setTransform(toDevice);
            painter.setPen(QPen(color, highlight ? 2 : 0));
            painter.setBrush(Qt::NoBrush);
            painter.drawPath(p.path);
            break;
        case Primitive::Kind::Filled:
            painter.setTransform(toDevice);
            painter.setPen(Qt::NoPen);
            painter.setBrush(color);
            painter.drawPath(p.path);
            break;
        case Primitive::Kind::Text: {
            const TextFace& face = *Faces()[p.face];
            const QTransform xf =
                QTransform::fromScale(face.xScale / face.capPixels, -1 / face.capPixels) * p.transform * toDevice;
            // Texts under a pixel and a half high are not read by anyone: skipped.
            const double scale = std::sqrt(std::abs(xf.determinant()) / face.xScale) * face.capPixels;
            if (scale < 1.5) break;
            painter.setTransform(xf);
            painter.setPen(color);
            painter.setFont(face.font);
            const QStringList lines = p.text.split(QLatin1Char('\n'));
            for (int i = 0; i < lines.size(); ++i) {
                painter.drawText(QPointF(0, i * face.capPixels * 5.0 / 3.0), lines[i]);
            }
            break;
        }
        case Primitive::Kind::Block: {
            auto found = blocks_.find(p.block);
            if (found == blocks_.end() || depth >= kMaxDepth) break;
            const QTransform xf = p.transform * toDevice;
            const QRectF device = xf.mapRect(found->second.bounds);
            if (device.width() < 2 && device.height() < 2) {
                painter.setTransform(QTransform());
                painter.fillRect(device.adjusted(0, 0, 1, 1), color);
                break;
            }
            PaintPrimitives(painter, found->second.primitives, xf, color, true, highlight, depth + 1);
            break;
        }
        }
    }
}

std::size_t DrawingScene::Paint(QPainter& painter, const QTransform& toDevice, const QRectF& visible,
                                const std::vector<char>& selected, double lodPixels) const {
    static const QColor highlight(30, 120, 255);
    std::size_t painted = 0;
    // Level of detail: a reference a few pixels big shows as the box it fills. The boxes are
    // gathered by colour and filled together, without anti-aliasing: at a drawing's extents they
    // are most of what a big drawing paints.
    std::map<QRgb, QList<QRectF>> boxes;
    for (std::size_t i : Query(visible)) {
        const SceneItem& item = items_[i];
        const bool isSelected = i < selected.size() && selected[i];
        const QRectF device = toDevice.mapRect(item.bounds);
        if (device.width() < lodPixels && device.height() < lodPixels) {
            const Primitive& first = item.primitives.front();
            if (!layers_[first.layer].visible) continue;
            const QColor color = isSelected ? highlight : Resolve(first, Qt::black, false);
            boxes[color.rgb()].append(device.adjusted(0, 0, 1, 1));
            ++painted;
            continue;
        }
        PaintPrimitives(painter, item.primitives, toDevice, Qt::black, false, isSelected ? &highlight : nullptr, 0);
        ++painted;
    }
    painter.setTransform(QTransform());
    if (!boxes.empty()) {
        const bool antialiased = painter.testRenderHint(QPainter::Antialiasing);
        painter.setRenderHint(QPainter::Antialiasing, false);
        painter.setPen(Qt::NoPen);
        for (const auto& [rgb, rects] : boxes) {
            painter.setBrush(QColor::fromRgb(rgb));
            painter.drawRects(rects.constData(), static_cast<int>(rects.size()));
        }
        painter.setRenderHint(QPainter::Antialiasing, antialiased);
    }
    return painted;
}

}  // namespace gui
