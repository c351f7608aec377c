#include "gstreamer/FrameRate.h"

namespace tavixgst {
namespace {

constexpr char kRate[] = "AcquisitionFrameRate";
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

Fraction Preferred(const FrameRate& rate) {
    return rate.isVariable ? Fraction{0, 1} : FractionOf(rate.present);
}

bool IsOff(const Tavix::Camera& camera) {
    return camera.HasFeature(kSwitch) && camera[kSwitch].IsReadable() && !camera[kSwitch].Bool();
}

bool IsTriggered(const Tavix::Camera& camera) {
    return camera.HasFeature("TriggerMode") && camera["TriggerMode"].IsReadable() &&
           camera["TriggerMode"].Text() == "On";
}

void Append(GValue& list, GValue& value) {
    gst_value_list_append_and_take_value(&list, &value);
}

} // namespace

FrameRate FrameRateOf(const Tavix::Camera& camera) {
    FrameRate rate;
    if (!camera.HasFeature(kRate) || !camera[kRate].IsReadable()) return rate;
    const Tavix::Feature feature = camera[kRate];
    rate.isKnown = true;
    rate.isVariable = IsTriggered(camera) || IsOff(camera);
    rate.least = feature.Min();
    rate.most = feature.Max();
    rate.present = feature.Float();
    return rate;
}

void AddFrameRate(GstStructure& caps, const FrameRate& rate) {
    GValue variable = G_VALUE_INIT;
    g_value_init(&variable, GST_TYPE_FRACTION);
    gst_value_set_fraction(&variable, 0, 1);
    const Fraction least = FractionOf(rate.least), most = FractionOf(rate.most);
    if (!rate.isKnown ||
        gst_util_fraction_compare(least.numerator, least.denominator, most.numerator, most.denominator) >= 0) {
        gst_structure_take_value(&caps, kField, &variable);
        return;
    }
    GValue list = G_VALUE_INIT, range = G_VALUE_INIT;
    g_value_init(&list, GST_TYPE_LIST);
    g_value_init(&range, GST_TYPE_FRACTION_RANGE);
    gst_value_set_fraction_range_full(&range, least.numerator, least.denominator, most.numerator, most.denominator);
    Append(list, variable);
    Append(list, range);
    gst_structure_take_value(&caps, kField, &list);
}

void FixateFrameRate(GstStructure& caps, const FrameRate& rate) {
    const GValue* offered = gst_structure_get_value(&caps, kField);
    if (offered == nullptr) return;
    const Fraction preferred = Preferred(rate);
    GValue wanted = G_VALUE_INIT, common = G_VALUE_INIT;
    g_value_init(&wanted, GST_TYPE_FRACTION);
    gst_value_set_fraction(&wanted, preferred.numerator, preferred.denominator);
    if (gst_value_intersect(&common, offered, &wanted)) {
        gst_structure_take_value(&caps, kField, &common);
    } else {
        if (GST_VALUE_HOLDS_LIST(offered)) { // whose ranges the next line would not see
            GValue last = G_VALUE_INIT;
            g_value_init(&last, G_VALUE_TYPE(gst_value_list_get_value(offered, gst_value_list_get_size(offered) - 1)));
            g_value_copy(gst_value_list_get_value(offered, gst_value_list_get_size(offered) - 1), &last);
            gst_structure_take_value(&caps, kField, &last);
        }
        gst_structure_fixate_field_nearest_fraction(&caps, kField, preferred.numerator, preferred.denominator);
    }
    g_value_unset(&wanted);
}

void SetFrameRate(Tavix::Camera& camera, gint numerator, gint denominator) {
    const FrameRate rate = FrameRateOf(camera);
    if (numerator == 0 || !rate.isKnown) return;
    if (IsOff(camera)) camera[kSwitch] = true;
    const Fraction present = FractionOf(camera[kRate].Float());
    if (gst_util_fraction_compare(present.numerator, present.denominator, numerator, denominator) != 0)
        camera[kRate].SetNearest(static_cast<double>(numerator) / denominator);
}

} // namespace tavixgst
