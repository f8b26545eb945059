#include "UsbDebuggingPrompt.h"

#include <QFontDatabase>
#include <QPainter>
#include <QPainterPath>

namespace {
const QColor kPhoneBody(0x20, 0x21, 0x24);
const QColor kDimmedScreen(0x5f, 0x63, 0x68);
const QColor kCard(0xff, 0xff, 0xff);
const QColor kText(0x20, 0x21, 0x24);
const QColor kSecondaryText(0x5f, 0x63, 0x68);
const QColor kAccent(0x1a, 0x73, 0xe8);
const QColor kMark(0xf2, 0x99, 0x00); // what to tap

constexpr int kWidth = 280;
constexpr int kHeight = 380;

// A numbered ring round what the person taps, in the order they tap it.
void markTap(QPainter& painter, const QRectF& around, int number) {
    painter.save();
    painter.setPen(QPen(kMark, 2.5));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(around, 8, 8);
    const QRectF badge(around.right() - 9, around.top() - 9, 18, 18);
    painter.setPen(Qt::NoPen);
    painter.setBrush(kMark);
    painter.drawEllipse(badge);
    QFont font = painter.font();
    font.setBold(true);
    font.setPixelSize(11);
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(badge, Qt::AlignCenter, QString::number(number));
    painter.restore();
}

constexpr qreal kPad = 14;     // inside the card
constexpr qreal kTickRow = 30; // the "always allow" row
constexpr qreal kButtonRow = 34;

struct Fonts {
    QFont title, body, key, button;
};

Fonts fontsFrom(const QFont& base) {
    Fonts fonts{base, base, QFontDatabase::systemFont(QFontDatabase::FixedFont), base};
    fonts.title.setPixelSize(15);
    fonts.title.setBold(true);
    fonts.body.setPixelSize(12);
    fonts.key.setPixelSize(10);
    fonts.button.setPixelSize(12);
    fonts.button.setBold(true);
    return fonts;
}

// A key fingerprint broken in the middle, at a colon, as phones show it on two lines.
QString twoLines(QString fingerprint) {
    const qsizetype middle = fingerprint.indexOf(QLatin1Char(':'), fingerprint.size() / 2 - 1);
    if (middle > 0)
        fingerprint.insert(middle + 1, QLatin1Char('\n'));
    return fingerprint;
}

// The phone with its earpiece; its screen, dimmed behind the prompt, is returned.
QRectF drawPhone(QPainter& painter) {
    const QRectF phone(24, 4, kWidth - 48, kHeight - 8);
    painter.setPen(Qt::NoPen);
    painter.setBrush(kPhoneBody);
    painter.drawRoundedRect(phone, 28, 28);
    const QRectF screen = phone.adjusted(9, 24, -9, -24);
    painter.setBrush(kDimmedScreen);
    painter.drawRoundedRect(screen, 14, 14);
    painter.setBrush(QColor(0x3c, 0x40, 0x43));
    painter.drawRoundedRect(QRectF(phone.center().x() - 22, phone.top() + 11, 44, 5), 2.5, 2.5);
    return screen;
}

// The "always allow" tick box, ticked, with its text; the first thing to tap.
void drawTickRow(QPainter& painter, const QRectF& row, const QFont& font, const QString& text) {
    const QRectF box(row.left(), row.center().y() - 8, 16, 16);
    painter.setPen(Qt::NoPen);
    painter.setBrush(kAccent);
    painter.drawRoundedRect(box, 3, 3);
    QPainterPath tick;
    tick.moveTo(box.left() + 3.5, box.center().y());
    tick.lineTo(box.left() + 6.8, box.bottom() - 4);
    tick.lineTo(box.right() - 3.5, box.top() + 4);
    painter.setPen(QPen(Qt::white, 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(tick);
    painter.setPen(kText);
    painter.setFont(font);
    painter.drawText(row.adjusted(box.width() + 8, 0, 0, 0), Qt::AlignVCenter | Qt::TextWordWrap, text);
    markTap(painter, row.adjusted(-5, -1, 5, 1), 1);
}

// The two buttons, right-aligned as the phone shows them; Allow is the second thing to tap.
void drawButtons(QPainter& painter, const QRectF& row, const QFont& font, const QString& cancelText,
                 const QString& allowText) {
    painter.setFont(font);
    const QFontMetricsF metrics(font);
    const qreal allowWidth = metrics.horizontalAdvance(allowText) + 20;
    const qreal cancelWidth = metrics.horizontalAdvance(cancelText) + 20;
    const QRectF allow(row.right() - allowWidth, row.top(), allowWidth, row.height());
    const QRectF cancel(allow.left() - 6 - cancelWidth, row.top(), cancelWidth, row.height());
    painter.setPen(kAccent);
    painter.drawText(cancel, Qt::AlignCenter, cancelText);
    painter.drawText(allow, Qt::AlignCenter, allowText);
    markTap(painter, allow.adjusted(-2, -2, 2, 2), 2);
}
} // namespace

UsbDebuggingPrompt::UsbDebuggingPrompt(Connection_Info::Prompt texts, QWidget* parent)
    : QWidget(parent), m_texts(std::move(texts)) {
    setAccessibleName(m_texts.title);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize UsbDebuggingPrompt::sizeHint() const { return {kWidth, kHeight}; }

void UsbDebuggingPrompt::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    const QRectF screen = drawPhone(painter);

    // The prompt's card in the middle of the screen, its height following its texts.
    const Fonts fonts = fontsFrom(font());
    const qreal cardWidth = screen.width() - 16;
    const qreal textWidth = cardWidth - 2 * kPad;
    const auto heightOf = [textWidth](const QFont& f, const QString& text) {
        return QFontMetricsF(f).boundingRect(QRectF(0, 0, textWidth, 1000), Qt::TextWordWrap, text).height();
    };
    const QString fingerprint = twoLines(m_texts.fingerprint);
    const qreal titleHeight = heightOf(fonts.title, m_texts.title);
    const qreal lineHeight = heightOf(fonts.body, m_texts.fingerprintLine);
    const qreal keyHeight = heightOf(fonts.key, fingerprint);
    const qreal cardHeight =
        kPad + titleHeight + 10 + lineHeight + 4 + keyHeight + 12 + kTickRow + 8 + kButtonRow;
    const QRectF card(screen.left() + 8, screen.center().y() - cardHeight / 2, cardWidth, cardHeight);
    painter.setBrush(kCard);
    painter.drawRoundedRect(card, 16, 16);

    qreal y = card.top() + kPad;
    const qreal x = card.left() + kPad;
    painter.setPen(kText);
    painter.setFont(fonts.title);
    painter.drawText(QRectF(x, y, textWidth, titleHeight), Qt::TextWordWrap, m_texts.title);
    y += titleHeight + 10;
    painter.setPen(kSecondaryText);
    painter.setFont(fonts.body);
    painter.drawText(QRectF(x, y, textWidth, lineHeight), Qt::TextWordWrap, m_texts.fingerprintLine);
    y += lineHeight + 4;
    painter.setFont(fonts.key);
    painter.drawText(QRectF(x, y, textWidth, keyHeight), Qt::AlignLeft, fingerprint);
    y += keyHeight + 12;
    drawTickRow(painter, QRectF(x, y, textWidth, kTickRow), fonts.body, m_texts.alwaysAllow);
    y += kTickRow + 8;
    drawButtons(painter, QRectF(x, y, textWidth, kButtonRow - 6), fonts.button, m_texts.cancel,
                m_texts.allow);
}
