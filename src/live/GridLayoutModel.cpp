#include "live/GridLayoutModel.h"

#include <QSet>

#include <algorithm>
#include <array>

namespace {

struct Preset
{
    QLatin1String name;
    int cols;
    int rows;
    int slotCount;
    // Cells of 2 x 2 units, side by side from the top left corner; they are the first slots.
    int masters;
};

constexpr int masterSpan = 2;

constexpr std::array presets = {
    Preset{QLatin1String("1x1"), 1, 1, 1, 0},
    Preset{QLatin1String("2x2"), 2, 2, 4, 0},
    Preset{QLatin1String("3x3"), 3, 3, 9, 0},
    Preset{QLatin1String("4x4"), 4, 4, 16, 0},
    Preset{QLatin1String("5x5"), 5, 5, 25, 0},
    Preset{QLatin1String("8x8"), 8, 8, 64, 0},
    Preset{QLatin1String("1+5"), 3, 3, 6, 1},
    Preset{QLatin1String("1+7"), 4, 3, 8, 1},
    Preset{QLatin1String("2+8"), 4, 4, 10, 2},
};

const Preset *findPreset(const QString &name)
{
    const auto *it
        = std::find_if(presets.begin(), presets.end(), [&](const Preset &p) { return p.name == name; });
    return it == presets.end() ? nullptr : it;
}

QVariantMap cell(int row, int col, int rowSpan, int colSpan)
{
    return {{QStringLiteral("row"), row}, {QStringLiteral("col"), col}, {QStringLiteral("rowSpan"), rowSpan},
        {QStringLiteral("colSpan"), colSpan}};
}

QStringList compacted(const QStringList &cameras, int size)
{
    QStringList result = cameras;
    result.removeAll(QString());
    result.resize(size);
    return result;
}

QStringList validArrangement(const QVariantList &entries, int size)
{
    QStringList result(size);
    const qsizetype count = std::min<qsizetype>(size, entries.size());
    for (qsizetype i = 0; i < count; ++i) {
        const QVariant &entry = entries.at(i);
        if (entry.metaType() != QMetaType::fromType<QString>())
            continue;
        const QString cameraId = entry.toString();
        if (!result.contains(cameraId))
            result[i] = cameraId;
    }
    return result;
}

} // namespace

struct GridLayoutModel::State
{
    QString currentLayout;
    QStringList slotCameras;
    int maximizedSlot;
    QHash<QString, QStringList> arrangements;
};

GridLayoutModel::GridLayoutModel(QObject *parent)
    : QObject(parent)
    , m_currentLayout(QStringLiteral("2x2"))
    , m_slotCameras(cells())
{
}

void GridLayoutModel::setCurrentLayout(const QString &layout)
{
    const Preset *preset = findPreset(layout);
    if (!preset || layout == m_currentLayout)
        return;
    const State before = state();
    if (!m_arrangements.contains(layout)) {
        const QStringList seed = compacted(m_slotCameras, preset->slotCount);
        if (!seed.first().isEmpty())
            m_arrangements.insert(layout, seed);
    }
    m_currentLayout = layout;
    m_slotCameras = m_arrangements.value(layout, QStringList(preset->slotCount));
    finish(before);
}

int GridLayoutModel::masterSlot() const
{
    return findPreset(m_currentLayout)->masters > 0 ? 0 : -1;
}

void GridLayoutModel::setMaximizedSlot(int index)
{
    if (index == m_maximizedSlot || index < -1 || index >= cells())
        return;
    m_maximizedSlot = index;
    emit maximizedSlotChanged();
}

QVariantMap GridLayoutModel::layoutSlots() const
{
    QVariantMap result;
    for (auto it = m_arrangements.cbegin(); it != m_arrangements.cend(); ++it)
        result.insert(it.key(), it.value());
    return result;
}

void GridLayoutModel::assignSlot(int index, const QString &cameraId)
{
    if (index < 0 || index >= cells())
        return;
    QStringList next = m_slotCameras;
    if (!cameraId.isEmpty())
        std::replace(next.begin(), next.end(), cameraId, QString());
    next[index] = cameraId;
    setSlotCameras(next);
}

void GridLayoutModel::assignSlotExclusive(int index, const QString &cameraId)
{
    assignSlot(index, cameraId);
}

bool GridLayoutModel::assignNextSlot(const QString &cameraId)
{
    if (cameraId.isEmpty())
        return false;
    if (m_slotCameras.contains(cameraId))
        return true;
    const qsizetype free = m_slotCameras.indexOf(QString());
    if (free < 0)
        return false;
    assignSlot(static_cast<int>(free), cameraId);
    return true;
}

void GridLayoutModel::clearSlot(int index)
{
    assignSlot(index, QString());
}

void GridLayoutModel::swapSlots(int fromIndex, int toIndex)
{
    if (fromIndex < 0 || toIndex < 0 || fromIndex >= cells() || toIndex >= cells())
        return;
    QStringList next = m_slotCameras;
    next.swapItemsAt(fromIndex, toIndex);
    setSlotCameras(next);
}

QString GridLayoutModel::slotAt(int index) const
{
    return m_slotCameras.value(index);
}

QStringList GridLayoutModel::activeCameras() const
{
    QStringList result = m_slotCameras;
    result.removeAll(QString());
    return result;
}

void GridLayoutModel::restore(const QVariantMap &layoutSlots, const QString &layout)
{
    const State before = state();
    m_arrangements.clear();
    for (const Preset &preset : presets) {
        const QVariantList entries = layoutSlots.value(preset.name).toList();
        if (!entries.isEmpty())
            m_arrangements.insert(preset.name, validArrangement(entries, preset.slotCount));
    }
    if (findPreset(layout))
        m_currentLayout = layout;
    m_slotCameras = m_arrangements.value(m_currentLayout, QStringList(cells()));
    finish(before);
}

void GridLayoutModel::pruneMissing(const QStringList &knownIds)
{
    const State before = state();
    const QSet<QString> known(knownIds.cbegin(), knownIds.cend());
    for (QStringList &arrangement : m_arrangements) {
        for (QString &cameraId : arrangement) {
            if (!known.contains(cameraId))
                cameraId.clear();
        }
    }
    m_slotCameras = m_arrangements.value(m_currentLayout, m_slotCameras);
    finish(before);
}

int GridLayoutModel::layoutCells(const QString &layout) const
{
    const Preset *preset = findPreset(layout);
    return preset ? preset->slotCount : 0;
}

int GridLayoutModel::layoutCols(const QString &layout) const
{
    const Preset *preset = findPreset(layout);
    return preset ? preset->cols : 0;
}

int GridLayoutModel::layoutRows(const QString &layout) const
{
    const Preset *preset = findPreset(layout);
    return preset ? preset->rows : 0;
}

QVariantList GridLayoutModel::cellLayout(const QString &layout) const
{
    const Preset *preset = findPreset(layout);
    if (!preset)
        return {};
    QVariantList result;
    for (int master = 0; master < preset->masters; ++master)
        result.append(cell(0, master * masterSpan, masterSpan, masterSpan));
    for (int unit = 0; result.size() < preset->slotCount; ++unit) {
        const int row = unit / preset->cols;
        const int col = unit % preset->cols;
        if (row < masterSpan && col < preset->masters * masterSpan)
            continue;
        const bool isLast = result.size() == preset->slotCount - 1;
        result.append(cell(row, col, 1, isLast ? preset->cols - col : 1));
    }
    return result;
}

GridLayoutModel::State GridLayoutModel::state() const
{
    return {m_currentLayout, m_slotCameras, m_maximizedSlot, m_arrangements};
}

void GridLayoutModel::finish(const State &before)
{
    const bool lostItsCamera
        = !before.slotCameras.value(m_maximizedSlot).isEmpty() && slotAt(m_maximizedSlot).isEmpty();
    if (lostItsCamera || m_currentLayout != before.currentLayout)
        m_maximizedSlot = -1;
    const State now = state();
    if (now.currentLayout != before.currentLayout)
        emit currentLayoutChanged();
    if (now.slotCameras != before.slotCameras)
        emit slotCamerasChanged();
    if (now.maximizedSlot != before.maximizedSlot)
        emit maximizedSlotChanged();
    if (now.arrangements != before.arrangements)
        emit layoutSlotsChanged();
}

void GridLayoutModel::setSlotCameras(const QStringList &slotCameras)
{
    if (slotCameras == m_slotCameras)
        return;
    const State before = state();
    m_slotCameras = slotCameras;
    m_arrangements.insert(m_currentLayout, slotCameras);
    finish(before);
}
