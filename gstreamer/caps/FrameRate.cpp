#include "gstreamer/caps/FrameRate.h"

namespace tavixgst {
namespace {

constexpr char kSwitch[] = "AcquisitionFrameRateEnable";
constexpr char kField[] = "framerate";

struct Fraction {
    gint numerator, denominator;
};

Fraction FractionOf(double rate) {
    Fraction fraction{};
    gst_util_double_to_fraction(rate, &fraction.numerator, &fraction.denominator);
    return fraction;
}

bool IsOff(const Tavix::Camera& camera) {
    return camera.HasFeature(kSwitch) && camera[kSwitch].IsReadable() && !camera[kSwitch].Bool();
}

bool IsTriggered(const Tavix::Camera& camera) {
    return camera.HasFeature("TriggerMode") && camera["TriggerMode"].IsReadable() &&
           camera["TriggerMode"].Text() == "On";
}

} // namespace

FrameRate FrameRateOf(const Tavix::Camera& camera) {
    FrameRate rate;
    if (!camera.HasFeature(kFrameRate) || !camera[kFrameRate].IsReadable()) return rate;
    const Tavix::Feature feature = camera[kFrameRate];
    rate.isKnown = true;
    rate.isVariable = IsTriggered(camera) || IsOff(camera);
    rate.least = feature.Min();
    rate.most = feature.Max();
    rate.present = feature.Float();
    return rate;
}

void AppendWithFrameRate(GstCaps& caps, StructurePtr one, const FrameRate& rate) {
    const Fraction least = FractionOf(rate.least), most = FractionOf(rate.most);
    const bool hasRange = rate.isKnown && gst_util_fraction_compare(least.numerator, least.denominator, most.numerator,
                                                                    most.denominator) < 0;
    StructurePtr ranged(hasRange ? gst_structure_copy(one.get()) : nullptr);
    gst_structure_set(one.get(), kField, GST_TYPE_FRACTION, 0, 1, nullptr);
    if (rate.isVariable) gst_caps_append_structure(&caps, one.release());
    if (ranged) {
        gst_structure_set(ranged.get(), kField, GST_TYPE_FRACTION_RANGE, least.numerator, least.denominator,
                          most.numerator, most.denominator, nullptr);
        gst_caps_append_structure(&caps, ranged.release());
    }
    if (one) gst_caps_append_structure(&caps, one.release());
}

void FixateFrameRate(GstStructure& caps, const FrameRate& rate) {
    const Fraction preferred = rate.isVariable ? Fraction{0, 1} : FractionOf(rate.present);
    if (gst_structure_has_field(&caps, kField))
        gst_structure_fixate_field_nearest_fraction(&caps, kField, preferred.numerator, preferred.denominator);
}

void SetFrameRate(Tavix::Camera& camera, gint numerator, gint denominator) {
    const FrameRate rate = FrameRateOf(camera);
    if (numerator == 0 || !rate.isKnown) return;
    if (IsOff(camera)) camera[kSwitch] = true;
    const Fraction present = FractionOf(camera[kFrameRate].Float());
    if (gst_util_fraction_compare(present.numerator, present.denominator, numerator, denominator) != 0)
        camera[kFrameRate].SetNearest(static_cast<double>(numerator) / denominator);
}

} // namespace tavixgst
