#include "archive/TimelineBars.h"

#include <QQuickWindow>
#include <QTest>

namespace {

QVariantMap span(qint64 start, qint64 end)
{
    return {{"start", start}, {"end", end}};
}

} // namespace

/// What is drawn, on a window of a hundred pixels over a hundred seconds.
class TimelineBarsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QQuickWindow::setGraphicsApi(QSGRendererInterface::OpenGL); }

    void draws()
    {
        QQuickWindow window;
        window.resize(100, 20);
        window.setColor(Qt::black);
        TimelineBars bars(window.contentItem());
        bars.setSize({100, 20});
        bars.setColor(Qt::blue);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        const QVariantList spans{
            span(0, 20'000), span(45'000, 45'100), span(60'000, 1'000'000), span(90'000, 30'000), "nonsense"};
        const std::tuple<QVariant, double, double, QString> views[]{{spans, 0, 100'000, "##  - ####"},
            {spans, -100'000, 100'000, "     #  ##"}, {spans, 100'000, 100'000, "          "},
            {spans, 0, 10'000, "##########"},
            {QVariant::fromValue(SpanIndex({{2000, 4000}})), 0, 10'000, "  ##      "},
            {spans, -qInf(), qQNaN(), "          "}, {QVariantList(), 0, 10'000, "          "}};
        for (const auto &[shown, start, end, expected] : views) {
            bars.setSpans(shown);
            bars.setViewStart(start);
            bars.setViewEnd(end);
            QCOMPARE(drawn(window), expected);
        }
    }

private:
    // Ten columns of the picture: ' ' for nothing, '#' for recorded, '-' for something paler.
    static QString drawn(QQuickWindow &window)
    {
        const QImage picture = window.grabWindow();
        QString line;
        for (int x = 5; x < 100; x += 10) {
            const int blue = picture.pixelColor(x, 10).blue();
            line += blue == 0 ? QChar(' ') : blue > 250 ? QChar('#') : QChar('-');
        }
        return line;
    }
};

QTEST_MAIN(TimelineBarsTest)
#include "tst_TimelineBars.moc"
