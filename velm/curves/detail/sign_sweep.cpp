#include "velm/curves/detail/sign_sweep.h"

namespace velm::detail {

void ZoneMerger::complete(const SignZone& zone) { ready_[ready_count_++] = zone; }

std::optional<SignZone> ZoneMerger::take() {
    if (ready_count_ == 0) return std::nullopt;
    const SignZone zone = ready_[0];
    ready_[0] = ready_[1];
    --ready_count_;
    return zone;
}

void ZoneMerger::certain(int sign, SweepPlace from) {
    if (open_) {
        open_->after = sign;
        if (loop_ && first_run_ && open_->before == 0)
            start_ = open_;
        else
            complete(*open_);
        open_.reset();
    } else if (sign_ == -sign) {
        complete({from, from, from, sign_, sign, false, 0});
    }
    if (first_run_ && first_sign_ == 0) first_sign_ = sign;
    sign_ = sign;
}

void ZoneMerger::uncertain(SweepPlace from, SweepPlace to, SweepPlace at, bool flat) {
    if (open_) {
        open_->to = to;
        open_->flat = open_->flat || flat;
        ++open_->parts;
        return;
    }
    open_ = SignZone{from, to, at, sign_, 0, flat, 1};
}

void ZoneMerger::end_run() {
    if (start_) complete(*start_);
    if (open_) complete(*open_);
    start_.reset();
    open_.reset();
    sign_ = 0;
    first_run_ = false;
}

void ZoneMerger::finish() {
    if (loop_)
        close_loop();
    else
        end_run();
}

void ZoneMerger::close_loop() {
    constexpr SweepPlace seam{0, 0.0};
    if (start_) { // a zone begins at the seam
        if (open_) {
            open_->to = start_->to;
            open_->after = start_->after;
            open_->flat = open_->flat || start_->flat;
            open_->parts += start_->parts;
            complete(*open_);
        } else {
            start_->before = sign_;
            complete(*start_);
        }
    } else if (open_) {
        open_->after = first_sign_;
        if (first_sign_ == 0) open_->before = 0; // uncertain everywhere
        complete(*open_);
    } else if (first_run_ && sign_ == -first_sign_ && sign_ != 0) {
        complete({seam, seam, seam, sign_, first_sign_, false, 0});
    }
    start_.reset();
    open_.reset();
}

} // namespace velm::detail
