#include "framepicture.h"

#include <QAccessibleWidget>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <map>

namespace tavix {
namespace {

const QColor kGood(0x2e, 0x9d, 0x48);
const QColor kSome(0xe8, 0x9b, 0x10);
const QColor kAll(0xc6, 0x28, 0x28);
const QColor kUntested(0xb0, 0xb0, 0xb0);

QColor colourOf(Verdict verdict) {
    switch (verdict) {
        case Verdict::ALL:
            return kAll;
        case Verdict::Check:
            return kSome;
        case Verdict::OK:
            break;
    }
    return kGood;
}

// The worst verdict of every summary row of the area (an area may have several runs).
struct AreaState {
    bool tested = false;
    Verdict led = Verdict::OK;
    Verdict sensor = Verdict::OK;
};

Verdict worse(Verdict a, Verdict b) {
    const auto rank = [](Verdict v) { return v == Verdict::ALL ? 2 : v == Verdict::Check ? 1 : 0; };
    return rank(a) >= rank(b) ? a : b;
}

std::map<int, AreaState> statesOf(const SelfTestJudgement &judgement) {
    std::map<int, AreaState> states;
    for (const AreaSummary &row : judgement.summaries) {
        AreaState &s = states[row.area];
        s.led = s.tested ? worse(s.led, row.led) : row.led;
        s.sensor = s.tested ? worse(s.sensor, row.sensor) : row.sensor;
        s.tested = s.tested || row.tested > 0;
    }
    return states;
}

// Screen readers meet the picture as a graphic with its name and description.
QAccessibleInterface *pictureAccessible(const QString &className, QObject *object) {
    if (className == QLatin1String("tavix::FramePicture") && object && object->isWidgetType()) {
        return new QAccessibleWidget(static_cast<QWidget *>(object), QAccessible::Graphic);
    }
    return nullptr;
}

QString text(const char *id) {
    return qtTrId(id);
}

}  // namespace

FramePicture::FramePicture(QWidget *parent) : QWidget(parent) {
    static const bool installed = [] {
        QAccessible::installFactory(pictureAccessible);
        return true;
    }();
    Q_UNUSED(installed);
    setAccessibleName(text("selfTest.picture"));
    setMinimumSize(minimumSizeHint());
    setAccessibleDescription(describe());
}

QSize FramePicture::sizeHint() const {
    return {360, 260};
}

QSize FramePicture::minimumSizeHint() const {
    return {240, 190};
}

FramePicture::Edge FramePicture::edgeOf(const std::string &label, std::size_t position) {
    QString lower = QString::fromStdString(label).toLower();
    const std::pair<const char *, Edge> words[] = {
        {"top", Edge::Top},      {"oben", Edge::Top},     {"bottom", Edge::Bottom},
        {"unten", Edge::Bottom}, {"left", Edge::Left},    {"links", Edge::Left},
        {"right", Edge::Right},  {"rechts", Edge::Right},
    };
    for (const auto &[word, edge] : words) {
        if (lower.startsWith(QLatin1String(word))) {
            return edge;
        }
    }
    const Edge order[] = {Edge::Top, Edge::Right, Edge::Bottom, Edge::Left};
    return order[position % 4];
}

void FramePicture::setResult(const std::optional<DeviceEntry> &entry,
                             const SelfTestJudgement &judgement) {
    entry_ = entry;
    judgement_ = judgement;
    setAccessibleDescription(describe());
    update();
}

QString FramePicture::describe() const {
    if (!entry_ || entry_->areas.empty()) {
        return text("selfTest.picture.none");
    }
    const std::map<int, AreaState> states = statesOf(judgement_);
    QStringList parts;
    for (std::size_t i = 0; i < entry_->areas.size(); ++i) {
        const int area = static_cast<int>(i) + 1;
        const QString label = QString::fromStdString(entry_->areas[i].label);
        const auto found = states.find(area);
        if (found == states.end() || !found->second.tested) {
            parts << text("selfTest.picture.untested").arg(label);
            continue;
        }
        QStringList failed;
        for (const ErrorRow &e : judgement_.errors) {
            if (e.area == area) {
                failed << QString::number(e.point);
            }
        }
        QString part = text("selfTest.picture.area")
                           .arg(label, qtTrId(verdictKey(found->second.led)),
                                qtTrId(verdictKey(found->second.sensor)));
        // A few points by number; a long list would drown the other areas.
        constexpr qsizetype kListed = 8;
        if (failed.size() > kListed) {
            part += QLatin1Char(' ') + text("selfTest.picture.failedMore")
                                           .arg(failed.mid(0, kListed).join(QStringLiteral(", ")))
                                           .arg(failed.size() - kListed);
        } else if (!failed.isEmpty()) {
            part += QLatin1Char(' ') +
                    text("selfTest.picture.failed").arg(failed.join(QStringLiteral(", ")));
        }
        parts << part;
    }
    return parts.join(QStringLiteral("; "));
}

void FramePicture::paintEvent(QPaintEvent *) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const QFontMetrics fm = fontMetrics();
    const int legendHeight = fm.height() * 2 + 8;
    const QRectF area = QRectF(rect()).adjusted(4, 4, -4, -4 - legendHeight);
    const qreal strip = std::max<qreal>(14, fm.height() * 0.9);

    // The panel and its screen.
    p.setPen(QPen(palette().color(QPalette::WindowText), 1.5));
    p.setBrush(palette().color(QPalette::Base));
    p.drawRoundedRect(area, 6, 6);
    const QRectF screen =
        area.adjusted(strip * 2 + 6, strip * 2 + 6, -strip * 2 - 6, -strip * 2 - 6);
    p.setBrush(palette().color(QPalette::AlternateBase));
    p.setPen(QPen(palette().color(QPalette::Mid), 1));
    p.drawRect(screen);

    if (entry_ && !entry_->areas.empty()) {
        const std::map<int, AreaState> states = statesOf(judgement_);
        // Areas of each edge, in list order, share the edge's length.
        std::map<Edge, std::vector<std::size_t>> byEdge;
        for (std::size_t i = 0; i < entry_->areas.size(); ++i) {
            byEdge[edgeOf(entry_->areas[i].label, i)].push_back(i);
        }
        const QRectF band = area.adjusted(3, 3, -3, -3);
        for (const auto &[edge, list] : byEdge) {
            const bool horizontal = edge == Edge::Top || edge == Edge::Bottom;
            const qreal start = horizontal ? band.left() + strip * 2 : band.top() + strip * 2;
            const qreal length = (horizontal ? band.width() : band.height()) - strip * 4;
            const qreal each = length / static_cast<qreal>(list.size());
            for (std::size_t k = 0; k < list.size(); ++k) {
                const std::size_t i = list[k];
                const int number = static_cast<int>(i) + 1;
                const qreal from = start + each * static_cast<qreal>(k) + 1;
                const qreal span = each - 2;
                // Outer half LEDs, inner half sensors.
                QRectF outer, inner;
                switch (edge) {
                    case Edge::Top:
                        outer = {from, band.top(), span, strip};
                        inner = {from, band.top() + strip, span, strip};
                        break;
                    case Edge::Bottom:
                        outer = {from, band.bottom() - strip, span, strip};
                        inner = {from, band.bottom() - 2 * strip, span, strip};
                        break;
                    case Edge::Left:
                        outer = {band.left(), from, strip, span};
                        inner = {band.left() + strip, from, strip, span};
                        break;
                    case Edge::Right:
                        outer = {band.right() - strip, from, strip, span};
                        inner = {band.right() - 2 * strip, from, strip, span};
                        break;
                }
                const auto found = states.find(number);
                const bool tested = found != states.end() && found->second.tested;
                p.setPen(Qt::NoPen);
                p.setBrush(tested ? colourOf(found->second.led) : kUntested);
                p.drawRect(outer);
                p.setBrush(tested ? colourOf(found->second.sensor) : kUntested);
                p.drawRect(inner);
                // Failed points where they sit along the strip, in the half that failed; a
                // strip that failed throughout says so by its colour alone.
                const qreal points = std::max<qreal>(1, entry_->areas[i].pointCount);
                const bool allLed = tested && found->second.led == Verdict::ALL;
                const bool allSensor = tested && found->second.sensor == Verdict::ALL;
                p.setPen(QPen(QColor(0x20, 0x20, 0x20), 2));
                for (const ErrorRow &e : judgement_.errors) {
                    if (e.area != number) {
                        continue;
                    }
                    const qreal at = from + span * (std::max<qreal>(e.point, 1) - 0.5) / points;
                    for (const auto &[failed, cell] :
                         {std::pair{e.ledState == 1 && !allLed, outer},
                          std::pair{e.sensState == 1 && !allSensor, inner}}) {
                        if (!failed) {
                            continue;
                        }
                        if (horizontal) {
                            p.drawLine(QPointF(at, cell.top() + 2), QPointF(at, cell.bottom() - 2));
                        } else {
                            p.drawLine(QPointF(cell.left() + 2, at), QPointF(cell.right() - 2, at));
                        }
                    }
                }
                // The area's label inside the screen, next to its strip.
                p.setPen(palette().color(QPalette::Text));
                QRectF labelBox;
                const QString label = QString::fromStdString(entry_->areas[i].label);
                switch (edge) {
                    case Edge::Top:
                        labelBox = {from, screen.top() + 2, span, qreal(fm.height())};
                        break;
                    case Edge::Bottom:
                        labelBox = {from, screen.bottom() - fm.height() - 2, span,
                                    qreal(fm.height())};
                        break;
                    case Edge::Left:
                        labelBox = {screen.left() + 4, from + span / 2 - fm.height() / 2.0,
                                    screen.width() / 2 - 8, qreal(fm.height())};
                        break;
                    case Edge::Right:
                        labelBox = {screen.center().x() + 4, from + span / 2 - fm.height() / 2.0,
                                    screen.width() / 2 - 8, qreal(fm.height())};
                        break;
                }
                const int align = edge == Edge::Right  ? Qt::AlignRight | Qt::AlignVCenter
                                  : edge == Edge::Left ? Qt::AlignLeft | Qt::AlignVCenter
                                                       : Qt::AlignCenter;
                p.drawText(
                    labelBox, align,
                    fm.elidedText(label, Qt::ElideRight, static_cast<int>(labelBox.width())));
            }
        }
    } else {
        p.setPen(palette().color(QPalette::Text));
        p.drawText(screen, Qt::AlignCenter | Qt::TextWordWrap, text("selfTest.picture.none"));
    }

    // Legend: colours, then which half is which.
    qreal x = 6;
    const qreal y = height() - legendHeight + 4;
    const std::pair<QColor, QString> keys[] = {
        {kGood, qtTrId("selfTest.OK")},
        {kSome, qtTrId("selfTest.Check")},
        {kAll, qtTrId("selfTest.ALL")},
        {kUntested, text("selfTest.picture.legend.untested")},
    };
    for (const auto &[colour, name] : keys) {
        p.setPen(Qt::NoPen);
        p.setBrush(colour);
        p.drawRect(QRectF(x, y + 2, fm.height() - 4, fm.height() - 4));
        p.setPen(palette().color(QPalette::WindowText));
        x += fm.height();
        p.drawText(QPointF(x, y + fm.ascent()), name);
        x += fm.horizontalAdvance(name) + 12;
    }
    p.drawText(QRectF(6, y + fm.height() + 2, width() - 12, fm.height()),
               Qt::AlignLeft | Qt::AlignVCenter,
               fm.elidedText(text("selfTest.picture.legend.halves"), Qt::ElideRight, width() - 12));
}

}  // namespace tavix
