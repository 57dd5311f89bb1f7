<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform" xmlns:d="urn:article"
                exclude-result-prefixes="d">
  <xsl:output method="html"/>
  <xsl:key name="by-kind" match="record" use="@kind"/>
  <xsl:param name="limit" select="100"/>
  <xsl:variable name="currency"><xsl:text>EUR</xsl:text></xsl:variable>

  <!-- A table, a copy, groups, a sorted list -->
  <xsl:template match="/records">
    <html>
      <table><xsl:apply-templates select="record"/></table>
      <xsl:apply-templates select="record" mode="copy"/>
      <xsl:for-each select="record[generate-id(.) = generate-id(key('by-kind', @kind)[1])]">
        <group kind="{@kind}" sum="{sum(key('by-kind', @kind)/price)}"><xsl:value-of select="count(key('by-kind', @kind))"/></group>
      </xsl:for-each>
      <xsl:for-each select="record[price &lt; $limit]">
        <xsl:sort select="price" data-type="number" order="descending"/>
        <xsl:sort select="@kind"/>
        <li><xsl:number value="position()" format="i"/><xsl:value-of select="name"/></li>
      </xsl:for-each>
    </html>
  </xsl:template>
  <xsl:template match="record">
    <tr class="{@kind}">
      <td><xsl:value-of select="name"/></td>
      <td><xsl:value-of select="format-number(price, '0.00')"/></td>
      <td><xsl:value-of select="concat(price/@currency, ' ', note)"/></td>
      <xsl:if test="price/@currency = $currency and position() mod 2 = 0">
        <td><xsl:call-template name="short"><xsl:with-param name="text" select="string(note)"/></xsl:call-template></td>
      </xsl:if>
    </tr>
  </xsl:template>
  <xsl:template match="@*|node()" mode="copy">
    <xsl:copy><xsl:apply-templates select="@*|node()" mode="copy"/></xsl:copy>
  </xsl:template>
  <xsl:template name="short">
    <xsl:param name="text"/>
    <xsl:param name="words" select="3"/>
    <xsl:choose>
      <xsl:when test="$words = 0 or not(contains($text, ' '))"/>
      <xsl:otherwise>
        <xsl:value-of select="translate(substring-before($text, ' '), 'abc', 'ABC')"/>
        <xsl:call-template name="short">
          <xsl:with-param name="text" select="substring-after($text, ' ')"/>
          <xsl:with-param name="words" select="$words - 1"/>
        </xsl:call-template>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <!-- A text with sections -->
  <xsl:template match="d:article">
    <xsl:variable name="contents"><xsl:apply-templates select="d:section/d:title"/></xsl:variable>
    <div>
      <xsl:copy-of select="$contents"/>
      <xsl:apply-templates select="*|processing-instruction()"/>
    </div>
  </xsl:template>
  <xsl:template match="d:section[@xml:id]">
    <div id="{@xml:id}">
      <h2><xsl:number level="multiple" count="d:section"/>.<xsl:value-of select="normalize-space(d:title)"/></h2>
      <xsl:apply-templates select="node()[not(self::d:title)]"/>
    </div>
  </xsl:template>
  <xsl:template match="d:title"><a href="#{../@xml:id}"><xsl:apply-templates/></a></xsl:template>
  <xsl:template match="d:para[@role='plain']"><p><xsl:apply-templates/></p></xsl:template>
  <xsl:template match="d:em|d:item/d:link"><em><xsl:apply-templates/></em></xsl:template>
  <xsl:template match="d:list/d:item">
    <li>
      <xsl:attribute name="class">item<xsl:if test="not(following-sibling::d:item)"> last</xsl:if></xsl:attribute>
      <xsl:if test="ancestor::d:section[preceding-sibling::d:section]">+</xsl:if>
      <xsl:apply-templates/>
    </li>
  </xsl:template>

  <!-- A small one -->
  <xsl:template match="item"><xsl:value-of select="concat(@n, ': ', name, ' ', price * 2)"/></xsl:template>
</xsl:stylesheet>
