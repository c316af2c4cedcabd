// Path names and the search path the display finds its data files through.
#pragma once

#include <string>
#include <vector>

// A file or directory name. A directory name ends with '/', which is how `join` knows
// where to put the separator.
class QelPathName {
 public:
  QelPathName() = default;
  explicit QelPathName(const char* path) : _path(path ? path : "") {}
  explicit QelPathName(std::string path) : _path(std::move(path)) {}

  const std::string& getString() const { return _path; }
  bool isEmpty() const { return _path.empty(); }
  bool isAbsolute() const { return !_path.empty() && _path[0] == '/'; }
  bool isDirectoryName() const { return !_path.empty() && _path.back() == '/'; }

  // Everything up to and including the last '/' ("" when there is none).
  std::string getDirectory() const;
  // Everything after the last '/'.
  std::string getBaseName() const;
  // This name as a directory followed by `relative`, with exactly one '/' between them.
  QelPathName join(const char* relative) const;
  // Makes this a directory name by appending '/' when it lacks one (an empty name stays empty).
  void makeDirectoryName();

  bool exists() const;
  // An existing regular file that this process may read.
  bool isReadableFile() const;

  bool operator==(const QelPathName& other) const { return _path == other._path; }

 private:
  std::string _path;
};

// An ordered list of directories, written as text with ':' between entries (empty entries are
// skipped). Files are looked for in the directories in order.
class QelSearchPath {
 public:
  void set(const char* text);
  void append(const char* text);
  void prepend(const char* text);
  void append(const QelPathName& directory);
  void prepend(const QelPathName& directory);
  void clear() { _directories.clear(); }

  size_t length() const { return _directories.size(); }
  const QelPathName& getDirectory(size_t index) const { return _directories[index]; }
  // The entries joined by ':'.
  std::string getString() const;

  // The first readable file named `file`: an absolute name is taken as it is, a relative one
  // is tried in each directory in order. Returns false and leaves `found` alone when none is.
  bool find(const char* file, QelPathName& found) const;

 private:
  static std::vector<QelPathName> split(const char* text);
  std::vector<QelPathName> _directories;
};
