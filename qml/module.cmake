# The QML module ZorvelClient. Included from the top so that every document's resource path is
# /ZorvelClient/qml/..., as the program loads it.
return()
