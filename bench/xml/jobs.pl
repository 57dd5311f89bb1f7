# XML::Parser; see jobs.kova.
use strict;
use warnings;
use XML::Parser;

my ($job, $path) = @ARGV;
my ($elements, $bytes) = (0, 0);
my %count = (Start => sub { ++$elements });
my %measure = (
    Start => sub {
        my (undef, undef, %attributes) = @_;
        ++$elements;
        $bytes += length for values %attributes;
    },
    End => sub { ++$bytes },
    Char => sub { $bytes += length $_[1] },
);

if ($job eq 'nothing') {
    XML::Parser->new->parsefile($path);
    print "parsed\n";
} elsif ($job eq 'elements') {
    XML::Parser->new(Handlers => \%count)->parsefile($path);
    print "$elements\n";
} elsif ($job eq 'files') {
    XML::Parser->new(Handlers => \%count)->parsefile($_) for glob "$path/*";
    print "$elements\n";
} else {
    XML::Parser->new(Handlers => \%measure)->parsefile($path);
    print "$elements $bytes\n";
}
