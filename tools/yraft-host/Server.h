// Requests to other machines, one at a time, over connections that are kept.
#pragma once

#include <curl/curl.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Endpoints.h"
#include "Url.h"

// The user's answers that a connection may need.
struct Answers {
  // Whether a server that was never met is the one it says it is.
  std::function<bool(const std::string& host, const std::string& fingerprint)> trusts;
  // The password for a host; empty for none.
  std::function<std::string(const std::string& host)> password;
};

class Server {
 public:
  struct Release {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
  };
  using Handle = std::unique_ptr<CURL, Release>;
  using Lines = std::unique_ptr<curl_slist, Release>;

  // permission  asked while a request takes long
  Server(const Permission& permission, Answers answers);

  // One more to the same machine, of which the user has been asked all there is to ask.
  Server(const Server& like, const Permission& permission);
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  // A request with all that any of them needs: who the user is, whom to trust.
  Handle Prepare(const std::string& url);

  // Runs a request until it is done or `ready` holds. Answers its result once it is done. Throws
  // FileFailed where the user wants it to end.
  std::optional<CURLcode> Run(CURL* request, const std::function<bool()>& ready);

  // Makes the first request to a server, and again with a password where it wants one.
  CURLcode Enter(const std::string& url, Handle& request);

  // Whether a request failed because of who the user is.
  static bool IsDenied(CURL* request, CURLcode result);

  // Runs a request to its end whatever the user wants, but not for longer than some seconds.
  CURLcode RunShort(CURL* request);

  // Why a request failed, for the user.
  Text Words(CURL* request, CURLcode result) const;

  // Ends a request that is under way.
  void Drop(CURL* request);

 private:
  static int OnConnection(void* self, curl_socket_t connection, curlsocktype);
  static int OnClose(void* self, curl_socket_t connection);
  static int OnKey(CURL*, const curl_khkey* known, const curl_khkey* found, curl_khmatch match,
                   void* self);
  void SetUser(CURL* request, const Url& url);
  std::optional<CURLcode> Step(CURL* request);
  std::optional<CURLcode> Advance(CURL* request, const std::function<bool()>& ready);
  void Set(int option, bool on) const;
  void AnswerAtOnce() const;
  void Gather(bool waits) const;

  const Permission& m_permission;
  Answers m_answers;
  int m_connection = -1;  // the last that was made; -1 once it is closed
  std::unique_ptr<CURLM, CURLMcode (*)(CURLM*)> m_connections;
  const std::string m_loginName, m_keyFile;
  CURL* m_running = nullptr;
  bool m_entering = false;  // its request has made the connection
  std::string m_host;       // of the last request
  std::string m_password;   // that the user typed
  bool m_keyChanged = false;
  char m_error[CURL_ERROR_SIZE] = "";
};

// Whether a request that failed so may go on over a new connection.
bool IsLost(CURLcode result);
