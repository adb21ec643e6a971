#!/usr/bin/env perl
# watch.pl [<text's number>]: finds every text of the library that no test would miss. Copies the sources to
# build/watch/, with each string literal of the library in a wrapper that can withhold it, builds the tests
# there, and runs for one text after the other the tests that use it, until one fails. Texts that no test
# misses must stand in tests/watch_unreachable.txt with the reason, and only they.
use strict;
use warnings;
use Cwd qw(getcwd);
use File::Basename qw(dirname);
use File::Path qw(make_path remove_tree);
use Time::HiRes qw(time);

chdir dirname($0) . '/..' or die;
my $root = getcwd();
my $copy = "$root/build/watch/source";
my $build = "$root/build/watch/build";
my $hits = "$root/build/watch/hits";
my $unreachableFile = 'tests/watch_unreachable.txt';
my $jobs = `nproc` + 0 || 1;

# ---- The copy ----

my $literal = qr/"(?:[^"\\\n]|\\.)*"/;
my @texts; # [file:line, literal] by number

sub wrapped {
    my ($file, $line, $text, $function) = @_;
    return $text if $text =~ /^(?:""\s*)+$/;
    (my $joined = $text) =~ s/"\s*"//g;
    push @texts, ["$file:$line", $joined];
    return "watched::$function<$#texts>($text)";
}

# Everything but the texts stays as it is, on the same lines.
sub instrument {
    my ($file, $code) = @_;
    my ($result, $line, $statement) = ('', 1, '');
    pos($code) = 0;
    while (pos($code) < length $code) {
        my $piece;
        if ($code =~ m{\G(//[^\n]*|/\*.*?\*/|'(?:[^'\\]|\\.)+'|^\#\s*include[^\n]*|extern "C"|static_assert\([^;]*;)}gcms) {
            $piece = $1;
            $result .= $piece;
        } elsif ($code =~ m{\G^constexpr const char\* (\w+) = ($literal);}gcms) {
            # A constant of its own: what it stands for is wrapped at each of its places.
            $piece = $&;
            $result .= "#define $1 " . wrapped($file, $line, $2, 'text');
        } elsif ($code =~ m{\G($literal(?:\s*$literal)*)}gcs) {
            $piece = $1;
            # Names of files, constants of the whole source.
            $result .= $statement =~ /^\s*constexpr std::array/ ? $piece
                : wrapped($file, $line, $piece, $statement =~ /^\s*static\b/ ? 'textAtRunTime' : 'text');
        } elsif ($code =~ m{\Gstatic constexpr(?= (?:const char\*|std::array<(?:const char\*|std::string_view))[^;]*")}gcs) {
            $piece = 'static';
            $result .= 'static';
            $statement = 'static ';
        } else {
            $code =~ m{\G(.)}gcs;
            $piece = $1;
            $result .= $piece;
            $statement = $piece eq ';' ? '' : $statement . $piece;
            $statement = '' if $piece =~ /[{}]/ && $statement !~ /^\s*(?:static\b|constexpr std::array)/;
        }
        $line += () = $piece =~ /\n/g;
    }
    return $result;
}

my $wrapper = <<'END';
// Wrappers of the library's texts: the one whose number is in TL_WITHHELD reads as empty.
#pragma once
#ifdef __cplusplus
#include <cstddef>
#include <cstdio>
#include <cstdlib>
namespace watched {
constexpr int MOST = 4096;
// Written as the process ends, in which way ever it does.
struct Hits {
    bool hit[MOST];
    static void write();
};
inline Hits& hits() { static Hits& only = *new Hits{}; static const int registered = std::atexit(Hits::write); (void)registered; return only; }
inline void Hits::write()
{
    const char* const path = std::getenv("TL_WATCH_HITS");
    std::FILE* const file = path == nullptr ? nullptr : std::fopen(path, "w");
    for (int i = 0; file != nullptr && i < MOST; ++i)
        if (hits().hit[i])
            std::fprintf(file, "%d\n", i);
    if (file != nullptr)
        std::fclose(file);
}
inline bool isWithheld(int number)
{
    static const int withheld = std::getenv("TL_WITHHELD") == nullptr ? -1 : std::atoi(std::getenv("TL_WITHHELD"));
    hits().hit[number] = true;
    return number == withheld;
}
template <std::size_t Size>
inline constexpr char EMPTY[Size]{};
template <int Number, std::size_t Size>
const char (&textAtRunTime(const char (&text)[Size]))[Size]
{
    return isWithheld(Number) ? EMPTY<Size> : text;
}
template <int Number, std::size_t Size>
constexpr const char (&text(const char (&text)[Size]))[Size]
{
    if (__builtin_is_constant_evaluated())
        return text;
    return textAtRunTime<Number>(text);
}
} // namespace watched
#endif
END

sub slurp { my ($path) = @_; local $/; open my $in, '<', $path or die "$path: $!"; my $all = <$in>; return $all; }

# Only what changed, so that only that is built again.
sub spill {
    my ($path, $content) = @_;
    return if -e $path && slurp($path) eq $content;
    make_path(dirname($path));
    open my $out, '>', $path or die "$path: $!";
    print $out $content;
    close $out or die;
}

my %present;
for my $file (split /\n/, `git ls-files --cached --others --exclude-standard`) {
    next unless -f $file;
    my $content = slurp($file);
    $content = instrument($file, $content)
        if $file =~ m{^(?:api|logic|device|events|config|diag|text)/.*\.(?:cpp|h)$} && $file !~ m{^(?:api/tllogics|diag/language_keys)\.h$};
    # Keys are watched where they are used, which the compiler's test of them would not allow.
    $content =~ s/consteval LanguageKey(.*?)\{.*?^    }/constexpr LanguageKey$1 {}/ms if $file eq 'diag/language_keys.h';
    spill("$copy/$file", $content);
    $present{"$copy/$file"} = 1;
}
for my $old (split /\n/, `find '$copy' -type f`) { unlink $old unless $present{$old} }
spill("$root/build/watch/watched.h", $wrapper);

# ---- The tests ----

sub run { system(@_) == 0 or die "watch.pl: failed: @_\n" }
run("cmake -S '$copy' -B '$build' -G Ninja -DCMAKE_BUILD_TYPE=Debug"
    . " -DCMAKE_CXX_FLAGS='-O0 -include $root/build/watch/watched.h' >'$root/build/watch/build.log' 2>&1"
    . " && cmake --build '$build' -j $jobs --target sessions library_tests memory_tests -- -k 0 >>'$root/build/watch/build.log' 2>&1"
    . " || { tail -n 40 '$root/build/watch/build.log'; exit 1; }");

my @tests = map { m{/(\w+)\.txt$} ? "$build/sessions $1" : () } sort glob "$copy/tests/sessions/*.txt";
my $sessions = @tests;
for my $program (qw(library_tests memory_tests)) {
    my $suite = '';
    for (split /\n/, `'$build/$program' --gtest_list_tests`) {
        if (/^(\S+\.)/) { $suite = $1 }
        elsif (/^  (\S+)/) { push @tests, "$build/$program --gtest_filter=$suite$1" }
    }
}

# Runs work in so many processes at once; each prints lines, which come back.
sub parallel {
    my ($work, @items) = @_;
    my @pipes;
    for my $job (0 .. $jobs - 1) {
        open my $pipe, '-|' // die or do {
            $| = 1;
            for (my $i = $job; $i < @items; $i += $jobs) { $work->($items[$i]) }
            exit 0;
        };
        push @pipes, $pipe;
    }
    return map { my $pipe = $_; my @lines = <$pipe>; chomp @lines; @lines } @pipes;
}

my $start = time;
remove_tree($hits);
make_path($hits);
delete $ENV{TL_WITHHELD};
my @failed = parallel(sub {
    my ($number) = @_;
    my $begun = time;
    system("cd '$build' && TL_WATCH_HITS='$hits/$number' timeout 60 $tests[$number] >/dev/null 2>&1") == 0
        or print "failed $tests[$number]\n";
    print "took $number ", time - $begun, "\n";
}, 0 .. $#tests);
my %seconds = map { /^took (\d+) (\S+)/ ? ($1, $2) : () } @failed;
@failed = grep { /^failed/ } @failed;
die "watch.pl: with nothing withheld:\n", map { "  $_\n" } @failed if @failed;
my @users = map { [] } @texts;
for my $number (0 .. $#tests) {
    next unless -e "$hits/$number";
    push @{$users[$_]}, $number for split /\n/, slurp("$hits/$number");
}

# ---- Text by text ----

sub isMissed {
    my ($text) = @_;
    # Sessions show all that is written, and of them the quickest will do.
    for my $test (sort { ($a >= $sessions) <=> ($b >= $sessions) || $seconds{$a} <=> $seconds{$b} } @{$users[$text]}) {
        return 1 if system("cd '$build' && TL_WITHHELD=$text timeout 60 $tests[$test] >/dev/null 2>&1") != 0;
    }
    return 0;
}
my @asked = @ARGV ? @ARGV : 0 .. $#texts;
my @unmissed = sort { $a <=> $b } parallel(sub { print "$_[0]\n" unless isMissed($_[0]) }, @asked);

my %excused;
my $bad = 0;
for (split /\n/, -e $unreachableFile ? slurp($unreachableFile) : '') {
    next if /^\s*(?:#|$)/;
    my ($file, $text) = /^(\S+): ("(?:[^"\\]|\\.)*")  \S/ or die "$unreachableFile: not an entry: $_\n";
    ++$excused{"$file: $text"};
}
for (@unmissed) {
    my ($place, $text) = @{$texts[$_]};
    (my $file = $place) =~ s/:\d+$//;
    next if $excused{"$file: $text"} && $excused{"$file: $text"}--;
    print "No test misses text $_, $place: $text", (@{$users[$_]} ? '' : '  (not reached)'), "\n";
    $bad = 1;
}
unless (@ARGV) {
    for (sort grep { $excused{$_} } keys %excused) {
        print "$unreachableFile: some test misses this, or it is gone: $_\n";
        $bad = 1;
    }
}
printf "%d texts, %d tests, %d texts missed by none; %.0f seconds\n", scalar @asked, scalar @tests,
    scalar @unmissed, time - $start;
exit $bad;
