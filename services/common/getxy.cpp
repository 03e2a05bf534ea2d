#include "services/touch.h"

#include <tslib.h>

#include <algorithm>
#include <cerrno>
#include <vector>

#include <poll.h>

namespace {
int median(std::vector<int> values)
{
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    return values[values.size() / 2];
}
} // namespace

// A press is every sample with pressure from the first touch to the release. The median of
// its coordinates ignores the outliers of a finger landing and lifting.
int getxy(struct tsdev *ts, int *x, int *y)
{
    std::vector<int> xs, ys;
    for (;;) {
        ts_sample sample;
        const int r = ts_read_raw(ts, &sample, 1);
        if (r < 0) {
            if (errno == EINTR || errno == EAGAIN)
                continue;
            return -1;
        }
        if (r == 0) {
            pollfd p{ts_fd(ts), POLLIN, 0};
            if (poll(&p, 1, -1) < 0 && errno != EINTR)
                return -1;
            if (p.revents & (POLLHUP | POLLERR) && !(p.revents & POLLIN))
                return -1;
            continue;
        }
        if (sample.pressure > 0) {
            xs.push_back(sample.x);
            ys.push_back(sample.y);
        } else if (!xs.empty()) {
            break;
        }
    }
    *x = median(xs);
    *y = median(ys);
    return 0;
}
