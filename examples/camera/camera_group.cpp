// Images of one trigger from all cameras.
#include <cstdio>

#include <tavix/camera/Group.h>

int main() {
    auto group = Tavix::Group::Open();
    group.Set("TriggerSource", "Software");
    group.Set("TriggerMode", "On");
    Tavix::GroupOptions options;
    options.by = Tavix::GroupBy::BlockId;
    Tavix::GroupStream stream = group.Grab(options);
    for (int i = 0; i < 5; ++i) {
        group.Trigger();
        const Tavix::ImageSet set = stream.Next();
        for (const std::string& gap : set.gaps)
            if (!gap.empty()) std::printf("set %d: %s\n", i, gap.c_str());
        if (set.IsComplete()) std::printf("set %d of %zu images\n", i, set.images.size());
    }
}
