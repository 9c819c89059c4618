#include "app/QmlTypes.h"

#include "archive/ArchivePlayer.h"
#include "archive/TimelineBars.h"
#include "live/CameraFilterModel.h"
#include "live/CameraStreamView.h"
#include "live/GridLayoutModel.h"
#include "live/MpvObject.h"
#include "live/RedrawClock.h"
#include "live/StreamPoolModel.h"

#include <QtQml>

namespace {

template <typename Type>
void registerType(const char *name)
{
    qmlRegisterType<Type>("ZorvelClient", 1, 0, name);
}

} // namespace

void registerQmlTypes()
{
    registerType<MpvObject>("MpvObject");
    registerType<ArchivePlayer>("ArchivePlayer");
    registerType<CameraStreamView>("CameraStreamView");
    registerType<GridLayoutModel>("GridLayoutModel");
    registerType<StreamPoolModel>("StreamPoolModel");
    registerType<CameraFilterModel>("CameraFilterModel");
    registerType<TimelineBars>("TimelineBars");
    registerType<RedrawClock>("RedrawClock");
}
