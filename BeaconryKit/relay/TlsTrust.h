#pragma once

#include <QSslConfiguration>

namespace pelorin {

/// Whom connections over TLS trust: the system's certificate authorities and, besides, those in the PEM file that the
/// environment variable SSL_CERT_FILE names, for a relay of one's own whose authority the system does not know. A file
/// that cannot be read, or holds none, adds none. Any thread.
QSslConfiguration tlsTrust();

} // namespace pelorin
