#include "velm/numerics/laguerre_roots.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <complex>
#include <utility>

namespace {

using Complex = std::complex<double>;

// Leading coefficients up to this, absolute, are dropped: next to coefficients of about 1 they put
// a root at 1e10 or beyond, and deflating that root would cost the others their digits.
constexpr double ignored_leading = 1e-10;
// Imaginary parts below this are tried as 0; it may be that wide, because the real part is taken
// only if p counts as zero there too.
constexpr double nearly_real = 0.1;
// Evaluations without a smaller |p| before the search restarts from another point. Where
// Laguerre's steps converge they shrink from the second or third on, and cubically in the end.
constexpr int stalls_allowed = 5;
// As many as there are starts: five directions, 45 degrees apart, in the upper half plane; the
// conjugates add nothing, as the coefficients are real.
constexpr int restarts_allowed = 5;
// Powers of two kept free below the largest double when p is evaluated, for the sums of its terms.
constexpr double spare_exponents = 40.0;

double squared_size(Complex z) { return z.real() * z.real() + z.imag() * z.imag(); }
double size(Complex z) { return ScaledHypot(z.real(), z.imag()); }

// a b, without the repair of infinities in the language's own product.
Complex product(Complex a, Complex b) {
    return {a.real() * b.real() - a.imag() * b.imag(), a.real() * b.imag() + a.imag() * b.real()};
}

// a / b by Smith's method.
Complex quotient(Complex a, Complex b) {
    if (std::fabs(b.real()) >= std::fabs(b.imag())) {
        const double ratio = b.imag() / b.real();
        const double divisor = b.real() + ratio * b.imag();
        return {(a.real() + ratio * a.imag()) / divisor, (a.imag() - ratio * a.real()) / divisor};
    }
    const double ratio = b.real() / b.imag();
    const double divisor = b.imag() + ratio * b.real();
    return {(ratio * a.real() + a.imag()) / divisor, (ratio * a.imag() - a.real()) / divisor};
}

// The whole part of x, limited to 1e6 in size, which is beyond every exponent; 0 for a NaN.
int whole(double x) {
    constexpr double most = 1e6;
    if (std::isnan(x)) return 0;
    return static_cast<int>(std::clamp(x, -most, most));
}

// One run of LaguerreZeros.
class Finder {
public:
    Finder(int degree, double* work, const LaguerreControl& control, double* real, double* imag)
        : n_(degree), a_(work), eps_(control.tolerance),
          max_iterations_(whole(control.maxIterations)), real_(real), imag_(imag),
          backward_(degree + 1), b_(backward_.data()) {}

    int run(LaguerreControl& control);

private:
    bool next_root();
    void prepare();
    void move(const LaguerreValues& v);
    void step(const LaguerreValues& v);
    bool evaluate(Complex at, LaguerreValues& v) {
        ++count_;
        return LaguerreEvaluate(n_, a_, at.real(), at.imag(), eps_, v);
    }
    void store();
    void deflate();
    void splice(int m);
    void closed_form();

    int n_; // of the deflated polynomial
    double* a_;
    double eps_;
    int max_iterations_;
    double* real_;
    double* imag_;
    ERVec<double> backward_;
    double* b_;

    Complex x_;
    Complex start_[restarts_allowed + 1]; // from 1 on
    double radius_ = 0.0;
    int size_limit_ = 0;
    int count_ = 0;
    int stalls_ = 0;
    int restarts_ = 0;
    double before_ = 0.0; // |p| one evaluation before the last
    long long evaluations_ = 0;
};

int Finder::run(LaguerreControl& control) {
    const int degree = n_;
    while (n_ >= 1 && a_[n_] == 0.0) {
        real_[n_] = imag_[n_] = 0.0;
        --n_;
    }
    bool found = true;
    while (n_ >= 3 && (found = next_root())) {
    }
    // Of a x^k nothing remains, and the closed form turns one root into a NaN, which is part of the
    // contract. Only a x keeps its root.
    if (found && (n_ > 0 || degree > 1)) closed_form();
    control.status = found ? LaguerreStatus_found : LaguerreStatus_limit;
    control.restarts = restarts_;
    control.evaluations = static_cast<double>(evaluations_);
    return found ? 0 : n_;
}

// Iterates to a root and divides it out.
bool Finder::next_root() {
    LaguerreValues v{};
    for (bool converged = false; !converged; converged = evaluate(x_, v)) {
        if (count_ > max_iterations_) return false;
        if (count_ == 0)
            prepare();
        else
            move(v);
        before_ = v.size;
    }
    if (x_.imag() != 0.0 && std::fabs(x_.imag()) < nearly_real && evaluate(x_.real(), v))
        x_ = x_.real();
    store();
    evaluations_ += count_;
    count_ = restarts_ = stalls_ = 0;
    return true;
}

// The bounds and starts for a new root.
void Finder::prepare() {
    const double ln2 = std::log(2.0);
    const int expLimit = whole(std::log(DBL_MAX) / ln2 - spare_exponents);
    radius_ = 0.0;
    for (int i = 1; i <= n_; ++i)
        if (a_[i] != 0.0)
            radius_ = std::max(radius_, std::exp(std::log(std::fabs(a_[i] / a_[0])) / i));
    int e = (expLimit - whole(std::log(std::fabs(a_[0])) / ln2)) / n_;
    for (int j = 1; j < n_; ++j)
        if (a_[j] != 0.0)
            e = std::min(e, (expLimit - whole(std::log(std::fabs(a_[j])) / ln2)) / (n_ - j));
    size_limit_ = whole(e * ln2 / std::log(n_));

    const double s = -a_[1] / a_[0];
    const double r = radius_;
    const double q = r / std::sqrt(2.0);
    if (eps_ > std::fabs(s)) {
        const Complex table[] = {{0.0, r}, {q, q}, {-q, q}, {r, 0.0}, {-r, 0.0}};
        std::copy(std::begin(table), std::end(table), start_ + 1);
    } else {
        const double sign = s < 0.0 ? -1.0 : 1.0;
        const Complex table[] = {
            {sign * r, 0.0}, {sign * q, q}, {0.0, r}, {-sign * q, q}, {-sign * r, 0.0}};
        std::copy(std::begin(table), std::end(table), start_ + 1);
    }
    if (size(x_) > 2.0 * r) x_ = 0.0;
}

// Moves to the next point: a Laguerre step, or a new start if steps have brought no progress.
void Finder::move(const LaguerreValues& v) {
    if (count_ >= 2 && !(v.size < before_) && ++stalls_ >= stalls_allowed &&
        restarts_ < restarts_allowed) {
        stalls_ = 0;
        x_ = start_[++restarts_];
        return;
    }
    step(v);
}

void Finder::step(const LaguerreValues& v) {
    const Complex p(v.p[0], v.p[1]);
    const Complex G = quotient({v.dp[0], v.dp[1]}, p);
    const Complex F = quotient({v.ddp[0], v.ddp[1]}, p);
    const Complex G2 = product(G, G);
    const Complex H = G2 - F;
    const double H2 = squared_size(H);
    double m = H2 == 0.0 ? 1.0 : (G2.real() * H.real() + G2.imag() * H.imag()) / H2;
    m = m > n_ - 1 ? n_ - 1 : std::max(1.0, m);
    const int mi = whole(m);
    const double factor = static_cast<double>(n_ - mi) / mi;
    const Complex T = factor * (double(n_) * H - G2);
    Complex S = T == 0.0 ? Complex() : std::sqrt(T);
    if (G.real() * S.real() + G.imag() * S.imag() < 0.0) S = -S;
    const Complex D = G + S;
    const double D2 = squared_size(D);
    Complex dx = D2 == 0.0 ? Complex(-n_, n_) : quotient(double(-n_), D);
    const double er = std::fabs(x_.real()) * eps_ + DBL_MIN;
    const double ei = std::fabs(x_.imag()) * eps_ + DBL_MIN;
    if (std::fabs(dx.real()) < er && std::fabs(dx.imag()) < ei)
        dx = {dx.real() < 0.0 ? -er : er, dx.imag() < 0.0 ? -ei : ei};
    x_ += dx;
    if (size(x_) > 2.0 * radius_) {
        const double t =
            std::log(std::max(std::fabs(x_.real()), std::fabs(x_.imag()))) / std::log(2.0) + 1.0 -
            size_limit_;
        if (t > 0.0) x_ /= std::pow(2.0, t);
    }
}

// Stores the root, or the pair, and divides it out.
void Finder::store() {
    real_[n_] = x_.real();
    imag_[n_] = x_.imag();
    if (x_.imag() != 0.0) {
        real_[n_ - 1] = x_.real();
        imag_[n_ - 1] = -x_.imag();
    }
    if (x_ == 0.0)
        --n_;
    else
        deflate();
}

void Finder::deflate() {
    if (x_.imag() == 0.0) {
        const int m = n_ - 1;
        const double root = x_.real();
        b_[m] = -a_[m + 1] / root;
        for (int i = m; i >= 1; --i)
            b_[i - 1] = (b_[i] - a_[i]) / root;
        for (int i = 1; i <= m; ++i)
            a_[i] = root * a_[i - 1] + a_[i];
        splice(m);
        return;
    }
    const int m = n_ - 2;
    const double d1 = -2.0 * x_.real();
    const double d2 = squared_size(x_);
    b_[m] = a_[m + 2] / d2;
    b_[m - 1] = (a_[m + 1] - b_[m] * d1) / d2;
    for (int i = m - 1; i >= 1; --i)
        b_[i - 1] = (a_[i + 1] - b_[i] * d1 - b_[i + 1]) / d2;
    a_[1] = a_[1] - d1 * a_[0];
    for (int i = 2; i <= m; ++i)
        a_[i] = a_[i] - (d2 * a_[i - 2] + d1 * a_[i - 1]);
    splice(m);
}

// Joins the forward quotient in a and the backward one in b, of degree m, where they agree best.
void Finder::splice(int m) {
    const auto difference = [this](int i) {
        return std::fabs(a_[i] - b_[i]) / (std::fabs(a_[i]) + std::fabs(b_[i]));
    };
    double best = difference(m);
    int j = m;
    for (int i = m - 1; i >= 0; --i) {
        if (!(std::fabs(a_[i]) + std::fabs(b_[i]) > eps_)) continue;
        const double e = difference(i);
        if (best > e) {
            best = e;
            j = i;
        }
    }
    std::copy(b_ + j + 1, b_ + m + 1, a_ + j + 1);
    a_[j] = (a_[j] + b_[j]) * 0.5;
    n_ = m;
}

void Finder::closed_form() {
    if (n_ == 1) {
        real_[1] = -(a_[1] / a_[0]);
        imag_[1] = 0.0;
        return;
    }
    const double c = a_[2] / a_[0];
    const double h = -0.5 * a_[1] / a_[0];
    const double d = h * h - c;
    if (d >= 0.0) {
        const double w = h < 0.0 ? h - std::sqrt(d) : h + std::sqrt(d);
        real_[2] = w;
        real_[1] = a_[2] / (w * a_[0]);
        imag_[1] = imag_[2] = 0.0;
    } else {
        real_[1] = real_[2] = h;
        imag_[2] = std::sqrt(-d);
        imag_[1] = -imag_[2];
    }
}

} // namespace

double ScaledHypot(double a, double b) {
    // std::max and std::min would drop a NaN of b.
    double high = std::fabs(b);
    double low = std::fabs(a);
    if (low > high) std::swap(low, high);
    if (high == 0.0 && low == 0.0) return 0.0;
    const double ratio = low / high;
    return high * std::sqrt(ratio * ratio + 1.0);
}

bool LaguerreEvaluate(int n, const double* a, double re, double im, double eps,
                      LaguerreValues& values) {
    const double t = 2.0 * re;
    const double u = -(re * re + im * im);
    const double r = ScaledHypot(re, im);
    double b = a[0], b1 = 0.0; // b[k] and b[k - 1]
    double c = a[0], c1 = 0.0;
    double d = a[0], d1 = 0.0; // ends two steps before c
    double e = 0.8 * std::fabs(a[0]);
    for (int k = 1; k <= n - 2; ++k) {
        b1 = std::exchange(b, t * b + u * b1 + a[k]);
        c1 = std::exchange(c, t * c + u * c1 + b);
        if (k <= n - 4) d1 = std::exchange(d, t * d + u * d1 + c);
        e = r * e + std::fabs(b);
    }
    if (n == 3) d = 0.0;
    const double last = t * b + u * b1 + a[n - 1];
    const double p_re = re * last + a[n] + u * b;
    const double p_im = im * last;
    const double w = c - re * c1;
    const double z = 8.0 * im * im;
    values.p[0] = p_re;
    values.p[1] = p_im;
    values.dp[0] = last - 2.0 * c1 * im * im;
    values.dp[1] = 2.0 * im * w;
    values.ddp[0] = 2.0 * w - z * (d - re * d1);
    values.ddp[1] = im * (6.0 * c1 - z * d1);
    values.size = ScaledHypot(p_re, p_im);
    const double bound = 2.0 * std::fabs(re * last) -
                         8.0 * (std::fabs(p_re) + r * std::fabs(last)) +
                         10.0 * (std::fabs(p_re) + r * (r * e + std::fabs(last)));
    return std::pow(eps + 1.0, 4 * n + 3) * (bound * eps) > values.size;
}

int LaguerreZeros(int n, const double* coefficients, LaguerreControl& control, double* real,
                  double* imag, double* work) {
    if (n <= 0 || coefficients[n] == 0.0) {
        control.status = n <= 0 ? LaguerreStatus_no_degree : LaguerreStatus_leading_zero;
        control.restarts = control.evaluations = 0.0;
        return n;
    }
    std::reverse_copy(coefficients, coefficients + n + 1, work);
    return Finder(n, work, control, real, imag).run(control);
}

ERVec<double> Zeros1(const ERPolynome& p, const ERLimites& limits) {
    int n = p.degree();
    while (n >= 1 && std::fabs(p[n]) <= ignored_leading)
        --n;
    ERVec<double> roots;
    if (n == 0) return roots;
    ERVec<double> arrays(3 * (n + 1));
    double* const real = arrays.data();
    double* const imag = real + n + 1;
    LaguerreControl control;
    const int missing = LaguerreZeros(n, p.view().data(), control, real, imag, imag + n + 1);
    for (int i = missing + 1; i <= n; ++i)
        if (imag[i] == 0.0 && limits.inBound(real[i])) roots.push_back(real[i]);
    return roots;
}

int ZerosMethode1(const ERPolynome& p, const ERLimites& limits, ERVec<double>& out) {
    out.clear();
    if (p.degree() == 0) return p(0) == 0.0 ? -1 : 0;
    out = Zeros1(p, limits);
    return out.size();
}

int Zeros(const ERPolynome& p, const ERLimites& limits, ERVec<double>& out) {
    return ZerosMethode1(p, limits, out);
}
