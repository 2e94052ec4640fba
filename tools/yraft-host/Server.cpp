#include "Server.h"

#include <glib.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <pwd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <utility>

namespace {

constexpr long kSeconds = 30;  // in which a server has to answer
constexpr long kShortSeconds = 5;
constexpr int kPollMilliseconds = 50;

// Without an end curl waits for some answers of SFTP in a busy loop.
constexpr long kForGood = 2'000'000;

std::string Home(const char* below) { return g_get_home_dir() + std::string("/.ssh/") + below; }

std::string LoginName() {
  const passwd* user = getpwuid(getuid());
  return user != nullptr ? user->pw_name : "";
}

// The user's key; libcurl would look for others only.
std::string KeyFile() {
  for (const char* name : {"id_ed25519", "id_ecdsa", "id_rsa"}) {
    if (access(Home(name).c_str(), R_OK) == 0) return Home(name);
  }
  return {};
}

// As ssh shows it.
std::string Fingerprint(const curl_khkey& key) {
  gsize length = key.len;
  guchar* raw = key.len > 0 ? static_cast<guchar*>(g_memdup2(key.key, key.len))
                            : g_base64_decode(key.key, &length);
  GChecksum* sum = g_checksum_new(G_CHECKSUM_SHA256);
  g_checksum_update(sum, raw, static_cast<gssize>(length));
  guint8 digest[32];
  gsize size = sizeof(digest);
  g_checksum_get_digest(sum, digest, &size);
  g_checksum_free(sum);
  g_free(raw);
  gchar* text = g_base64_encode(digest, size);
  std::string shown = std::string("SHA256:") + text;
  g_free(text);
  return shown.substr(0, shown.find('='));
}

// Bytes of a file that the server has taken.
curl_off_t Sent(CURL* request) {
  curl_off_t bytes = 0;
  curl_easy_getinfo(request, CURLINFO_SIZE_UPLOAD_T, &bytes);
  return bytes;
}

Text HttpWords(long code) {
  switch (code) {
    case 401:
    case 403:
      return Say(Said::kServerDenies);
    case 404:
    case 409:
      return Say(Said::kNotOnServer);
    case 413:
      return Say(Said::kTooLargeForServer);
    case 507:
      return Say(Said::kServerFull);
    default:
      return Say(Said::kServerAnswers, {std::to_string(code)});
  }
}

}  // namespace

Server::Server(const Permission& permission, Answers answers)
    : m_permission(permission),
      m_answers(std::move(answers)),
      m_connections(curl_multi_init(), curl_multi_cleanup),
      m_loginName(LoginName()),
      m_keyFile(KeyFile()) {}

Server::Server(const Server& like, const Permission& permission)
    : Server(permission, {[](const auto&, const auto&) { return false; },
                          [](const auto&) { return std::string(); }}) {
  m_password = like.m_password;
}

Server::~Server() {
  if (m_running != nullptr) Drop(m_running);
}

Server::Handle Server::Prepare(const std::string& text) {
  const Url url(text);
  m_host = url.host;
  Handle handle(curl_easy_init());
  CURL* request = handle.get();
  curl_easy_setopt(request, CURLOPT_URL, text.c_str());
  curl_easy_setopt(request, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(request, CURLOPT_SOCKOPTFUNCTION, OnConnection);
  curl_easy_setopt(request, CURLOPT_SOCKOPTDATA, this);
  curl_easy_setopt(request, CURLOPT_CLOSESOCKETFUNCTION, OnClose);
  curl_easy_setopt(request, CURLOPT_CLOSESOCKETDATA, this);
  curl_easy_setopt(request, CURLOPT_PROTOCOLS_STR, "sftp,https");
  curl_easy_setopt(request, CURLOPT_ERRORBUFFER, m_error);
  curl_easy_setopt(request, CURLOPT_CONNECTTIMEOUT, kSeconds);
  curl_easy_setopt(request, CURLOPT_TIMEOUT, kForGood);
  curl_easy_setopt(request, CURLOPT_NETRC, CURL_NETRC_OPTIONAL);
  curl_easy_setopt(request, CURLOPT_FAILONERROR, 1L);
  curl_easy_setopt(request, CURLOPT_UPLOAD_BUFFERSIZE, long{kPiece});
  curl_easy_setopt(request, CURLOPT_BUFFERSIZE, 512L << 10);
  curl_easy_setopt(request, CURLOPT_SSH_KEYFUNCTION, OnKey);
  curl_easy_setopt(request, CURLOPT_SSH_KEYDATA, this);
  curl_easy_setopt(request, CURLOPT_HTTP_VERSION, CURL_HTTP_VERSION_1_1);
  SetUser(request, url);
  const char* certificates = std::getenv("SSL_CERT_FILE");
  if (certificates != nullptr) curl_easy_setopt(request, CURLOPT_CAINFO, certificates);
  return handle;
}

// The user is the URL's, or else the one who runs this; of a server of HTTP only where it asked.
void Server::SetUser(CURL* request, const Url& url) {
  if (url.user.empty() && (url.IsSftp() || !m_password.empty())) {
    curl_easy_setopt(request, CURLOPT_USERNAME, m_loginName.c_str());
  }
  if (!m_password.empty()) curl_easy_setopt(request, CURLOPT_PASSWORD, m_password.c_str());
  if (!url.IsSftp()) return;
  curl_easy_setopt(request, CURLOPT_SSH_KNOWNHOSTS, Home("known_hosts").c_str());
  if (!m_keyFile.empty()) curl_easy_setopt(request, CURLOPT_SSH_PRIVATE_KEYFILE, m_keyFile.c_str());
  curl_easy_setopt(request, CURLOPT_SSH_AUTH_TYPES,
                   CURLSSH_AUTH_AGENT | CURLSSH_AUTH_PUBLICKEY | CURLSSH_AUTH_PASSWORD);
  curl_easy_setopt(request, CURLOPT_FTP_CREATE_MISSING_DIRS, CURLFTP_CREATE_DIR);
}

int Server::OnConnection(void* self, curl_socket_t connection, curlsocktype) {
  auto* server = static_cast<Server*>(self);
  server->m_connection = connection;
  server->m_entering = true;
  return CURL_SOCKOPT_OK;
}

int Server::OnClose(void* self, curl_socket_t connection) {
  auto* server = static_cast<Server*>(self);
  if (server->m_connection == connection) server->m_connection = -1;
  return close(connection);
}

void Server::Set(int option, bool on) const {
  const int value = on ? 1 : 0;
  if (m_connection >= 0) setsockopt(m_connection, IPPROTO_TCP, option, &value, sizeof(value));
}

// A server of SSH lets a client in with small messages, and its kernel keeps each until there is
// word of the one before, which ours would give after 40 ms. It forgets that it was asked not to.
void Server::AnswerAtOnce() const { Set(TCP_QUICKACK, true); }

// Whether the kernel waits for whole segments, as packets of SSH leave curl one by one. That ends
// before there is anything to wait for.
void Server::Gather(bool waits) const { Set(TCP_NODELAY, !waits); }

// Called before anything of the user's goes to the server.
int Server::OnKey(CURL*, const curl_khkey*, const curl_khkey* found, curl_khmatch match,
                  void* self) {
  auto* server = static_cast<Server*>(self);
  if (match == CURLKHMATCH_OK) return CURLKHSTAT_FINE;
  server->m_keyChanged = match == CURLKHMATCH_MISMATCH;
  if (match != CURLKHMATCH_MISSING) return CURLKHSTAT_REJECT;
  mkdir(Home("").c_str(), 0700);
  return server->m_answers.trusts(server->m_host, Fingerprint(*found)) ? CURLKHSTAT_FINE_ADD_TO_FILE
                                                                       : CURLKHSTAT_REJECT;
}

std::optional<CURLcode> Server::Step(CURL* request) {
  if (m_running != request) {
    if (m_running != nullptr) Drop(m_running);
    m_error[0] = '\0';
    curl_multi_add_handle(m_connections.get(), request);
    m_running = request;
  }
  int count;
  curl_multi_perform(m_connections.get(), &count);
  if (m_entering) AnswerAtOnce();
  while (const CURLMsg* message = curl_multi_info_read(m_connections.get(), &count)) {
    if (message->msg != CURLMSG_DONE || message->easy_handle != request) continue;
    const CURLcode result = message->data.result;
    Drop(request);
    return result;
  }
  return std::nullopt;
}

// Steps as long as the server's answers wait, of which curl takes one at a time.
std::optional<CURLcode> Server::Advance(CURL* request, const std::function<bool()>& ready) {
  Gather(true);
  std::optional<CURLcode> result;
  curl_off_t before;
  do {
    before = Sent(request);
    result = Step(request);
  } while (!result && !ready() && Sent(request) > before);
  Gather(false);
  return result;
}

std::optional<CURLcode> Server::Run(CURL* request, const std::function<bool()>& ready) {
  while (true) {
    if (const auto result = Advance(request, ready)) return result;
    if (ready()) return std::nullopt;
    curl_multi_poll(m_connections.get(), nullptr, 0, kPollMilliseconds, nullptr);
    if (!m_permission.goOn()) throw FileFailed("cancelled");
  }
}

bool Server::IsDenied(CURL* request, CURLcode result) {
  long code = 0;
  curl_easy_getinfo(request, CURLINFO_RESPONSE_CODE, &code);
  return result == CURLE_LOGIN_DENIED || (result == CURLE_HTTP_RETURNED_ERROR && code == 401);
}

CURLcode Server::Enter(const std::string& url, Handle& request) {
  const auto enter = [&] {
    request = Prepare(url);
    curl_easy_setopt(request.get(), CURLOPT_NOBODY, 1L);
    return Run(request.get(), [] { return false; }).value();
  };
  const CURLcode result = enter();
  if (!IsDenied(request.get(), result)) return result;
  m_password = m_answers.password(m_host);
  return m_password.empty() ? result : enter();
}

CURLcode Server::RunShort(CURL* request) {
  curl_easy_setopt(request, CURLOPT_TIMEOUT, kShortSeconds);
  while (true) {
    if (const auto result = Step(request)) return *result;
    curl_multi_poll(m_connections.get(), nullptr, 0, kPollMilliseconds, nullptr);
  }
}

void Server::Drop(CURL* request) {
  if (m_running != request) return;
  curl_multi_remove_handle(m_connections.get(), request);
  m_running = nullptr;
  m_entering = false;
}

Text Server::Words(CURL* request, CURLcode result) const {
  long code = 0;
  switch (result) {
    case CURLE_COULDNT_RESOLVE_HOST:
      return Say(Said::kUnknownHost, {m_host});
    case CURLE_COULDNT_CONNECT:
    case CURLE_OPERATION_TIMEDOUT:
      return Say(Said::kNoAnswer, {m_host});
    case CURLE_PEER_FAILED_VERIFICATION:
      return m_keyChanged ? Say(Said::kOtherKey, {m_host})
                          : Say(Said::kNotTrusted, {m_host, m_error});
    case CURLE_LOGIN_DENIED:
      return Say(Said::kLoginDenied, {m_host});
    case CURLE_REMOTE_ACCESS_DENIED:
    case CURLE_UPLOAD_FAILED:
      return Say(Said::kServerDenies);
    case CURLE_REMOTE_FILE_NOT_FOUND:
      return Say(Said::kNotOnServer);
    case CURLE_REMOTE_DISK_FULL:
      return Say(Said::kServerFull);
    case CURLE_HTTP_RETURNED_ERROR:
      curl_easy_getinfo(request, CURLINFO_RESPONSE_CODE, &code);
      return HttpWords(code);
    case CURLE_SEND_ERROR:
    case CURLE_SSH:
      return Say(Said::kServerTakesNoMore);
    default:
      return IsLost(result) ? Say(Said::kLost) : Text(curl_easy_strerror(result));
  }
}

bool IsLost(CURLcode result) {
  return result == CURLE_SEND_ERROR || result == CURLE_RECV_ERROR || result == CURLE_SSH ||
         result == CURLE_GOT_NOTHING || result == CURLE_PARTIAL_FILE ||
         result == CURLE_COULDNT_CONNECT || result == CURLE_OPERATION_TIMEDOUT;
}
