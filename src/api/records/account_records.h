#pragma once

#include "api/records/serializer.h"

// Users, drives, tokens and the QR login. Camel-case keys are the product backend's,
// snake-case keys the Open API's.

class DriveInfo final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(QString, status)
    FIELD(QString, user_id)
    FIELD(QString, nick_name)
    FIELD(QString, avatar)
    FIELD(QString, phone)
    FIELD(QString, default_drive_id)
    FIELD(QString, user_data)
};

// Bytes.
class SpaceInfoItem final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(qint64, used_size)
    FIELD(qint64, total_size)
};

class SpaceInfo final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(SpaceInfoItem, personal_space_info)
};

class VipInfo final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(QString, identity)
    FIELD(QString, promotedAt)
    FIELD(QString, expire)
};

class UserInfoResp final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(QString, id)
    FIELD(QString, name)
    FIELD(QString, avatar)
    FIELD(QString, phone)
};

// `expiresIn` in seconds.
class AccessTokenResp final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(QString, tokenType)
    FIELD(QString, accessToken)
    FIELD(QString, refreshToken)
    FIELD(int, expiresIn)
};

class QrcodeResponse final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(int, code)
    FIELD(QString, msg)
    FIELD(QString, qrCodeUrl)
    FIELD(QString, sid)
};

class QueryScanQrCodeResp final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(QString, status)
    FIELD(QString, authCode)
};

// The payload of the system report.
class ClientUserEntity final : public QSerializer
{
    Q_GADGET
    SERIALIZABLE
    FIELD(QString, userId)
    FIELD(QString, deviceId)
    FIELD(QString, username)
    FIELD(QString, nickname)
    FIELD(QString, userAvatar)
    FIELD(QString, refreshToken)
    FIELD(QString, token)
    FIELD(int, tokenExpiresIn)
    FIELD(QString, appVersion)
    FIELD(int, osType)
    FIELD(QString, osVersion)
    FIELD(QString, device)
    FIELD(QString, model)
    FIELD(QString, brand)
    FIELD(QList<QString>, part_info_list)
};
