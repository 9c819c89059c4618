#include "live/CameraFilterModel.h"
#include "live/CameraListModel.h"

#include <QGuiApplication>
#include <QLoggingCategory>
#include <QQmlComponent>
#include <QQmlContext>
#include <QQuickView>
#include <QStandardItemModel>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>

// Ten thousand cameras in the camera list and its filter with a view attached, beside Qt's own models with
// the same rows in the same view. Prints the longest of five runs of each step, until the view has caught up.

namespace {

constexpr int cameraCount = 10000;
constexpr int runs = 5;
constexpr double wantedMs = 50;

constexpr auto listView = R"(
    import QtQuick
    ListView {
        width: 224; height: 800
        model: shownModel
        delegate: Text {
            required property string cameraName
            required property string state
            height: 32
            text: cameraName + state
        }
    })";

// A list view over a model, in a window of its own.
class View
{
public:
    explicit View(QAbstractItemModel &model)
    {
        m_view.rootContext()->setContextProperty("shownModel", &model);
        QQmlComponent component(m_view.engine());
        component.setData(listView, {});
        m_view.setContent({}, nullptr, component.create());
        m_view.show();
        QCoreApplication::processEvents();
    }

private:
    QQuickView m_view;
};

class StockModel : public QStandardItemModel
{
public:
    QHash<int, QByteArray> roleNames() const override { return CameraListModel().roleNames(); }
};

QList<CameraData> cameras()
{
    QList<CameraData> result;
    for (int i = 0; i < cameraCount; ++i) {
        CameraData camera;
        camera.id = QStringLiteral("camera-%1").arg(i);
        camera.name = QStringLiteral("%1 entrance, camera %2").arg(i % 2 ? "North" : "South").arg(i);
        result.append(camera);
    }
    return result;
}

// In processor time, so that what else the machine does is left out.
double longestMs(const std::function<void(int)> &step)
{
    std::clock_t longest = 0;
    for (int run = 0; run < runs; ++run) {
        const std::clock_t begin = std::clock();
        step(run);
        QCoreApplication::processEvents();
        longest = std::max(longest, std::clock() - begin);
    }
    return static_cast<double>(longest) * 1000 / CLOCKS_PER_SEC;
}

bool report(const char *what, double ms, double baselineMs)
{
    const bool isKept = ms <= wantedMs;
    std::printf("  %-52s%9.2f ms%9.2f ms%8.2f  at most %g ms%s\n", what, ms, baselineMs, ms / baselineMs,
        wantedMs, isKept ? "" : "  <-- MISSED");
    return isKept;
}

void fill(StockModel &model, const QList<CameraData> &list)
{
    model.clear();
    for (const CameraData &camera : list) {
        auto *const item = new QStandardItem;
        item->setData(camera.id, CameraListModel::CameraIdRole);
        item->setData(camera.name, CameraListModel::CameraNameRole);
        item->setData(QString(), CameraListModel::StateRole);
        model.appendRow(item);
    }
}

} // namespace

int main(int argc, char *argv[])
{
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    const QGuiApplication application(argc, argv);
    QLoggingCategory::setFilterRules("zorvel.*=false");

    const QList<CameraData> list = cameras();
    CameraListModel model;
    CameraFilterModel filter;
    filter.setSourceModel(&model);
    const View modelView(model);
    const View filterView(filter);
    StockModel stock;
    QSortFilterProxyModel stockFilter;
    stockFilter.setFilterRole(CameraListModel::CameraNameRole);
    stockFilter.setFilterCaseSensitivity(Qt::CaseInsensitive);
    stockFilter.setSourceModel(&stock);
    const View stockView(stock);
    const View stockFilterView(stockFilter);

    const double settingMs = longestMs([&](int) { model.setCameras(list); });
    bool isKept = report("the list is set", settingMs, longestMs([&](int) { fill(stock, list); }));

    const auto state = [](int run) { return QStringLiteral("state %1").arg(run); };
    const double statusesMs = longestMs([&](int run) {
        QList<CameraStatusData> statuses;
        for (const CameraData &camera : list)
            statuses.append({camera.id, state(run), {}});
        model.updateStatuses(statuses);
    });
    isKept &= report("every camera gets a new status", statusesMs, longestMs([&](int run) {
        for (int row = 0; row < cameraCount; ++row)
            stock.item(row)->setData(state(run), CameraListModel::StateRole);
    }));

    // Every second row comes and goes: the most scattered change there is.
    const auto text = [](int run) { return run % 2 ? QString() : QStringLiteral("north"); };
    const double keystrokeMs = longestMs([&](int run) { filter.setFilterText(text(run)); });
    isKept &= report("a keystroke in the filter", keystrokeMs,
        longestMs([&](int run) { stockFilter.setFilterFixedString(text(run)); }));
    return isKept ? 0 : 1;
}
