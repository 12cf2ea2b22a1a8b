#include <storage/kvxclient/Resource.h>

int main() { return storage::kvxclient::Resource(u"/", u"").getAsciiPercentEncodedPath() != "/"; }
