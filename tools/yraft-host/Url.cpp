#include "Url.h"

#include <curl/curl.h>

#include <algorithm>
#include <memory>

#include "Console.h"
#include "Failure.h"
#include "FileNames.h"

namespace {

struct Free {
  void operator()(CURLU* url) const { curl_url_cleanup(url); }
  void operator()(char* text) const { curl_free(text); }
};

std::string Part(CURLU* url, CURLUPart part, unsigned int flags = 0) {
  char* text = nullptr;
  if (curl_url_get(url, part, &text, flags) != CURLUE_OK) return {};
  return std::unique_ptr<char, Free>(text).get();
}

}  // namespace

bool IsUrl(const std::string& place) {
  return place.compare(0, 7, "sftp://") == 0 || place.compare(0, 8, "https://") == 0;
}

Url::Url(const std::string& place) {
  const std::unique_ptr<CURLU, Free> url(curl_url());
  if (curl_url_set(url.get(), CURLUPART_URL, place.c_str(), 0) != CURLUE_OK) {
    throw WrongUsage(Printable(place) + " is no URL");
  }
  if (!Part(url.get(), CURLUPART_PASSWORD).empty()) {
    throw WrongUsage("a URL holds no password here; ~/.netrc, an agent or you are asked for it");
  }
  scheme = Part(url.get(), CURLUPART_SCHEME);
  user = Part(url.get(), CURLUPART_USER);
  host = Part(url.get(), CURLUPART_HOST);
  path = Part(url.get(), CURLUPART_PATH, CURLU_URLDECODE);
  text = Part(url.get(), CURLUPART_URL);
  for (std::string* one : {&text, &path}) {
    while (one->size() > 1 && one->back() == '/') one->pop_back();
  }
}

std::string Url::Of(const std::string& name) const {
  std::string url = text;
  for (std::size_t start = 0, end; start <= name.size(); start = end + 1) {
    end = std::min(name.find('/', start), name.size());
    const std::string part = name.substr(start, end - start);
    const std::unique_ptr<char, Free> escaped(
        curl_easy_escape(nullptr, part.c_str(), static_cast<int>(part.size())));
    url += std::string("/") + escaped.get();
  }
  return url;
}

// "/~/" is the home folder, where SFTP's paths begin.
std::string Url::PathOf(const std::string& name) const {
  const bool home = path == "/~" || path.compare(0, 3, "/~/") == 0;
  const std::string folder = home ? path.substr(std::min<std::size_t>(3, path.size())) : path;
  return folder.empty() || folder == "/" ? folder + name : folder + "/" + name;
}

std::string Url::Name() const {
  std::string name = BaseName(path);
  return name.empty() || name == "." || name == ".." ? "file" : name;
}
