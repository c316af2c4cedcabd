#include "base/path.h"

#include <sys/stat.h>
#include <unistd.h>

std::string QelPathName::getDirectory() const {
  size_t slash = _path.rfind('/');
  return slash == std::string::npos ? std::string() : _path.substr(0, slash + 1);
}

std::string QelPathName::getBaseName() const {
  size_t slash = _path.rfind('/');
  return slash == std::string::npos ? _path : _path.substr(slash + 1);
}

QelPathName QelPathName::join(const char* relative) const {
  std::string joined = _path;
  const char* rest = relative ? relative : "";
  while (*rest == '/' && !joined.empty()) ++rest;
  if (!joined.empty() && joined.back() != '/' && *rest) joined += '/';
  joined += rest;
  return QelPathName(std::move(joined));
}

void QelPathName::makeDirectoryName() {
  if (!_path.empty() && _path.back() != '/') _path += '/';
}

bool QelPathName::exists() const {
  struct stat info;
  return !_path.empty() && stat(_path.c_str(), &info) == 0;
}

bool QelPathName::isReadableFile() const {
  struct stat info;
  return !_path.empty() && stat(_path.c_str(), &info) == 0 && S_ISREG(info.st_mode) &&
         access(_path.c_str(), R_OK) == 0;
}

std::vector<QelPathName> QelSearchPath::split(const char* text) {
  std::vector<QelPathName> directories;
  if (!text) return directories;
  const char* start = text;
  for (const char* p = text;; ++p) {
    if (*p == ':' || *p == '\0') {
      if (p > start) {
        QelPathName directory(std::string(start, p));
        directory.makeDirectoryName();
        directories.push_back(std::move(directory));
      }
      if (*p == '\0') break;
      start = p + 1;
    }
  }
  return directories;
}

void QelSearchPath::set(const char* text) {
  _directories = split(text);
}

void QelSearchPath::append(const char* text) {
  for (QelPathName& directory : split(text)) _directories.push_back(std::move(directory));
}

void QelSearchPath::prepend(const char* text) {
  std::vector<QelPathName> front = split(text);
  _directories.insert(_directories.begin(), front.begin(), front.end());
}

// A path name is one directory even when its text holds a ':'.
void QelSearchPath::append(const QelPathName& directory) {
  if (directory.isEmpty()) return;
  _directories.push_back(directory);
  _directories.back().makeDirectoryName();
}

void QelSearchPath::prepend(const QelPathName& directory) {
  if (directory.isEmpty()) return;
  _directories.insert(_directories.begin(), directory);
  _directories.front().makeDirectoryName();
}

std::string QelSearchPath::getString() const {
  std::string text;
  for (const QelPathName& directory : _directories) {
    if (!text.empty()) text += ':';
    text += directory.getString();
  }
  return text;
}

bool QelSearchPath::find(const char* file, QelPathName& found) const {
  if (!file || !*file) return false;
  if (*file == '/') {
    QelPathName candidate(file);
    if (!candidate.isReadableFile()) return false;
    found = candidate;
    return true;
  }
  for (const QelPathName& directory : _directories) {
    QelPathName candidate = directory.join(file);
    if (candidate.isReadableFile()) {
      found = std::move(candidate);
      return true;
    }
  }
  return false;
}
