// The drawing view's pictures of the sample and of three drawings other programs wrote, compared
// with reference pictures kept beside this test: a pixel counts as different when a channel is
// off by more than a little (anti-aliasing differs between machines), and a picture fails when
// more than a small share of its pixels do. VELMAR_UPDATE_GUI_REFERENCES=1 writes the
// references anew. The sample's references must each be drawn, inside the drawing's extents.

#include <QImage>
#include <QPainter>
#include <QtTest/QtTest>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>

#include "cad/BlockRecord.h"
#include "cad/Database.h"
#include "cad/BlockReference.h"
#include "cad/Entity.h"
#include "cad/Text.h"
#include "cad/geometry/MLeader.h"
#include "cad/geometry/DrawingExtents.h"
#include "fonts/FontFile.h"
#include "fonts/FontMetrics.h"
#include "gui/DrawingScene.h"
#include "gui/DrawingView.h"

namespace {

const QSize kPictureSize(800, 600);
// A channel may be off by this much before the pixel counts as different.
constexpr int kChannelTolerance = 64;
// The share of pixels that may differ.
constexpr double kPixelShare = 0.005;

const QString kReferences = QStringLiteral(VELMAR_SOURCE_DIR "/tests/gui/reference/");

std::unique_ptr<cad::Database> Read(const std::string& path) {
    auto db = cad::Database::Open(path);
    if (!db) qFatal("%s: %s", path.c_str(), db.GetStatus().Message().c_str());
    return std::move(*db);
}

bool Differs(QRgb a, QRgb b) {
    return std::abs(qRed(a) - qRed(b)) > kChannelTolerance || std::abs(qGreen(a) - qGreen(b)) > kChannelTolerance ||
           std::abs(qBlue(a) - qBlue(b)) > kChannelTolerance;
}

bool HasInk(const QImage& image, QRect rect) {
    rect = rect.intersected(image.rect());
    for (int y = rect.top(); y <= rect.bottom(); ++y)
        for (int x = rect.left(); x <= rect.right(); ++x)
            if (image.pixel(x, y) != qRgb(255, 255, 255)) return true;
    return false;
}

}  // namespace

class ScreenshotTest : public QObject {
    Q_OBJECT

private slots:
    void Pictures_data() {
        QTest::addColumn<QString>("drawing");
        QTest::addColumn<QString>("name");
        QTest::newRow("floor") << QStringLiteral(VELMAR_SOURCE_DIR "/examples/floor.dxf") << QStringLiteral("floor");
        QTest::newRow("arch-plan") << QStringLiteral(VELMAR_CORPUS "/dxf/arch-plan-attribs-ac1018.dxf")
                                   << QStringLiteral("arch-plan-attribs-ac1018");
        QTest::newRow("inserts") << QStringLiteral(VELMAR_CORPUS "/dxf/ezdxf-192-inserts-576-attribs-ac1018.dxf")
                                 << QStringLiteral("ezdxf-192-inserts-576-attribs-ac1018");
        QTest::newRow("flange") << QStringLiteral(VELMAR_CORPUS "/dxf/qcad-flange-attribs-ac1027.dxf")
                                << QStringLiteral("qcad-flange-attribs-ac1027");
        QTest::newRow("mleader-blocks") << QStringLiteral(VELMAR_CORPUS "/dxf/gdal-leader-mleader-blockcontent-ac1027.dxf")
                                        << QStringLiteral("gdal-leader-mleader-blockcontent-ac1027");
    }

    void Pictures() {
        QFETCH(QString, drawing);
        QFETCH(QString, name);
        std::unique_ptr<cad::Database> db = Read(drawing.toStdString());
        const gui::DrawingScene scene(*db);
        QVERIFY(!scene.Items().empty());
        const QImage picture = gui::DrawingView::Render(scene, kPictureSize);
        const QString reference = kReferences + name + QStringLiteral(".png");
        if (qEnvironmentVariableIntValue("VELMAR_UPDATE_GUI_REFERENCES") == 1) {
            QVERIFY(picture.save(reference));
            return;
        }
        QImage expected(reference);
        QVERIFY2(!expected.isNull(), qPrintable(reference));
        expected = expected.convertToFormat(QImage::Format_RGB32);
        QCOMPARE(expected.size(), picture.size());
        long different = 0;
        for (int y = 0; y < picture.height(); ++y)
            for (int x = 0; x < picture.width(); ++x)
                if (Differs(picture.pixel(x, y), expected.pixel(x, y))) ++different;
        const double share = static_cast<double>(different) / (picture.width() * picture.height());
        if (share > kPixelShare) picture.save(QDir::temp().filePath(name + QStringLiteral("-actual.png")));
        QVERIFY2(share <= kPixelShare,
                 qPrintable(QStringLiteral("%1 pixels differ (%2 %)").arg(different).arg(share * 100, 0, 'f', 3)));
    }

    void EveryReferenceOfTheSampleIsDrawnInsideItsExtents() {
        std::unique_ptr<cad::Database> db = Read(VELMAR_SOURCE_DIR "/examples/floor.dxf");
        const gui::DrawingScene scene(*db);
        const cad::Extents3d extents = cad::SpaceExtents(db->ModelSpace());
        QVERIFY(extents.IsValid());
        // The drawing's extents leave out the descenders of texts, which the view draws: a
        // hundredth of the drawing's size covers them.
        const double slack = std::max(extents.Size().x, extents.Size().y) * 0.01;
        const QRectF cadExtents(QPointF(extents.Min().x - slack, extents.Min().y - slack),
                                QPointF(extents.Max().x + slack, extents.Max().y + slack));
        const QImage picture = gui::DrawingView::Render(scene, kPictureSize);
        // The picture's mapping, as Render fits the scene's extents.
        const QRectF sceneExtents = scene.Extents();
        const double scale = std::min(kPictureSize.width() / sceneExtents.width(),
                                      kPictureSize.height() / sceneExtents.height()) * 0.97;
        const QTransform toDevice = QTransform::fromTranslate(-sceneExtents.center().x(), -sceneExtents.center().y()) *
                                    QTransform::fromScale(scale, -scale) *
                                    QTransform::fromTranslate(kPictureSize.width() / 2.0, kPictureSize.height() / 2.0);
        int references = 0;
        for (const gui::SceneItem& item : scene.Items()) {
            if (!item.isReference) continue;
            ++references;
            const std::string handle = cad::HandleText(item.handle);
            QVERIFY2(cadExtents.contains(item.bounds), handle.c_str());
            const QRect device = toDevice.mapRect(item.bounds).toAlignedRect().adjusted(-1, -1, 1, 1);
            QVERIFY2(QRect(QPoint(0, 0), kPictureSize).contains(device), handle.c_str());
            QVERIFY2(HasInk(picture, device), handle.c_str());
        }
        // Every reference of the sample's model space is in the scene.
        int inDrawing = 0;
        for (const cad::Entity& entity : db->ModelSpace().Entities()) inDrawing += entity.Type() == "INSERT";
        QCOMPARE(references, inDrawing);
        QVERIFY(references >= 10);
    }

    void TextsAreDrawnInTheirStylesFonts() {
        std::unique_ptr<cad::Database> db = Read(VELMAR_SOURCE_DIR "/examples/floor.dxf");
        // Two unrotated one-line attributes of the sample, each the only one of its text in its
        // reference: one keeps Standard (txt, a shape font), the other is given a style of the
        // drawing whose TrueType file the machine has.
        std::vector<cad::Entity> texts;
        std::vector<cad::Handle> owners;
        for (const cad::Entity& entity : db->ModelSpace().Entities()) {
            if (entity.Type() != "INSERT" || texts.size() == 2) continue;
            const cad::BlockReference reference(entity.GetDatabase(), entity.Index());
            for (const cad::Attribute& attribute : reference.Attributes()) {
                if (!attribute.IsVisible() || (attribute.GetInt(70, 0) & 1) || attribute.GetReal(50, 0) != 0 ||
                    attribute.GetReal(41, 1) != 1 || attribute.IsMTextAttribute())
                    continue;
                const std::string text = attribute.GetText(1);
                if (text.size() < 4 || text.find('%') != std::string::npos) continue;
                texts.push_back(attribute);
                owners.push_back(entity.GetHandle());
                break;
            }
        }
        QCOMPARE(texts.size(), std::size_t(2));
        cad::Entity& serif = texts[1];
        serif.SetText(7, "LiberationSerif");
        const std::string serifFile = fonts::FindFontFile("LiberationSerif-Regular.ttf");
        if (!fonts::FontFileMatches("LiberationSerif-Regular.ttf", serifFile)) QSKIP("no Liberation Serif here");
        const gui::DrawingScene scene(*db);
        auto primitiveOf = [&](int k) -> const gui::Primitive& {
            const long i = scene.Find(owners[k]);
            if (i < 0) qFatal("a reference not in the scene");
            for (const gui::Primitive& p : scene.Items()[i].primitives)
                if (p.kind == gui::Primitive::Kind::Text && p.text == QString::fromStdString(texts[k].GetText(1))) return p;
            qFatal("an attribute not drawn");
        };
        const gui::Primitive& standard = primitiveOf(0);
        const gui::Primitive& styled = primitiveOf(1);
        QCOMPARE(standard.kind, gui::Primitive::Kind::Text);
        QCOMPARE(gui::TextFaceFont(styled.face).family(), QStringLiteral("Liberation Serif"));
        QVERIFY(gui::TextFaceFont(standard.face).family() != QStringLiteral("Liberation Serif"));
        // The styled text is as wide as the fonts layer measures it in that font; the shape font's
        // as wide as the fonts layer's stand-in advance makes it.
        auto metrics = fonts::FontMetrics::Open(serifFile);
        QVERIFY(metrics);
        const double height = serif.GetReal(40, 1);
        const double serifWidth = metrics->TextWidth(serif.GetText(1), height);
        QVERIFY2(std::abs(styled.bounds.width() - serifWidth) < 0.05 * serifWidth,
                 qPrintable(QStringLiteral("%1 vs %2").arg(styled.bounds.width()).arg(serifWidth)));
        const std::string text = texts[0].GetText(1);
        const double standInWidth = text.size() * texts[0].GetReal(40, 1) * 0.6;
        QVERIFY2(std::abs(standard.bounds.width() - standInWidth) < 0.15 * standInWidth,
                 qPrintable(QStringLiteral("%1 vs %2").arg(standard.bounds.width()).arg(standInWidth)));
    }

    void MultileadersDrawTheirLeadersAndContent() {
        std::unique_ptr<cad::Database> db = Read(VELMAR_CORPUS "/dxf/gdal-leader-mleader-blockcontent-ac1027.dxf");
        const gui::DrawingScene scene(*db);
        // 797: a text multileader whose leader runs from (30,35) through three vertices to its
        // landing (40,20), a dogleg of 8 along x, an arrowhead block at the tip.
        const long i = scene.Find(0x797);
        QVERIFY(i >= 0);
        const std::vector<gui::Primitive>& primitives = scene.Items()[i].primitives;
        bool leader = false, dogleg = false, arrow = false, text = false;
        for (const gui::Primitive& p : primitives) {
            if (p.kind == gui::Primitive::Kind::Path && p.path.elementCount() == 5) {
                leader = p.path.elementAt(0).x == 30 && p.path.elementAt(0).y == 35 && p.path.elementAt(4).x == 40 &&
                         p.path.elementAt(4).y == 20;
            }
            if (p.kind == gui::Primitive::Kind::Path && p.path.elementCount() == 2)
                dogleg = p.path.elementAt(0).x == 40 && p.path.elementAt(1).x == 48 && p.path.elementAt(1).y == 20;
            if (p.kind == gui::Primitive::Kind::Block) arrow = p.bounds.contains(QPointF(30, 35));
            if (p.kind == gui::Primitive::Kind::Text) {
                QCOMPARE(p.text, QStringLiteral("Basic Multileader"));
                // Attached at its top left corner at (50, 22.03), 4 high.
                QVERIFY(std::abs(p.bounds.left() - 50) < 1e-6);
                QVERIFY(std::abs(p.bounds.bottom() - 22.0327) < 0.01);
                text = true;
            }
        }
        QVERIFY(leader);
        QVERIFY(dogleg);
        QVERIFY(arrow);
        QVERIFY(text);
        // Every block content is its block, drawn where the multileader places it.
        int blocks = 0;
        for (const cad::Entity& entity : db->ModelSpace().Entities()) {
            if (entity.Type() != "MULTILEADER") continue;
            const cad::MLeader multileader(entity.GetDatabase(), entity.Index());
            if (multileader.ContentType() != cad::MLeaderContentKind::Block || !multileader.BlockContent()) continue;
            const long item = scene.Find(entity.GetHandle());
            QVERIFY(item >= 0);
            const cad::Point3 at = multileader.BlockPosition();
            bool found = false;
            for (const gui::Primitive& p : scene.Items()[item].primitives)
                found |= p.kind == gui::Primitive::Kind::Block && p.block == multileader.BlockContent().Index() &&
                         std::abs(p.transform.dx() - at.x) < 1e-9 && std::abs(p.transform.dy() - at.y) < 1e-9;
            QVERIFY(found);
            ++blocks;
        }
        QVERIFY(blocks >= 1);
    }

    void LevelOfDetailDrawsSmallReferencesAsBoxes() {
        std::unique_ptr<cad::Database> db = Read(VELMAR_SOURCE_DIR "/examples/floor.dxf");
        const gui::DrawingScene scene(*db);
        QImage image(QSize(40, 30), QImage::Format_RGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        const QRectF e = scene.Extents();
        const double scale = std::min(40 / e.width(), 30 / e.height());
        const QTransform toDevice = QTransform::fromTranslate(-e.center().x(), -e.center().y()) *
                                    QTransform::fromScale(scale, -scale) * QTransform::fromTranslate(20, 15);
        // Everything is painted, cheaply, even at a size where nothing can be read.
        QCOMPARE(scene.Paint(painter, toDevice, e, {}), scene.Items().size());
    }
};

QTEST_MAIN(ScreenshotTest)
#include "ScreenshotTest.moc"
