#pragma once

#include <QFile>
#include <QString>

// The directories that are the user's own business, and the modes that keep them so. Both lie below
// the home directory always: the XDG base directory variables move nothing.

inline constexpr QFile::Permissions kPrivateFilePermissions = QFile::ReadOwner | QFile::WriteOwner;
inline constexpr QFile::Permissions kPrivateDirectoryPermissions
    = kPrivateFilePermissions | QFile::ExeOwner;

/// Of settings, tokens and history.
QString configRootPath();
/// Of the recordings, until they are transcribed.
QString cacheRootPath();
