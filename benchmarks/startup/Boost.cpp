#include <boost/thread/thread.hpp>
#include <string>

int main() { return boost::thread::hardware_concurrency() == 0; }
