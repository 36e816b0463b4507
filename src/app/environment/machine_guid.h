#pragma once

#include <QString>

// A GUID in lower case that stays the same on this machine and tells it from others: the device
// identifier that the product backend is told.
QString machineGuid();

// What a system with this identifier of its own is called. That identifier is not meant to be
// published: the GUID is derived from it and does not reveal it. A system without one (empty, as
// in many containers) gets a random GUID, kept in the settings file.
QString guidForMachine(const QByteArray &systemId);
